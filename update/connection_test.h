#pragma once

#include <chrono>
#include <string>

#include <QByteArray>
#include <QObject>
#include <QTimer>

class QProcess;

/// Asks `corvane-update --test` whether the addresses that updates come from can be reached, beside
/// the event loop. GUI thread only.
class ConnectionTest : public QObject {
    Q_OBJECT

public:
    /// How long the program may take; it gives up by itself after ten seconds.
    static constexpr std::chrono::milliseconds kLimit{15'000};

    explicit ConnectionTest(QObject* parent = nullptr, std::chrono::milliseconds limit = kLimit);
    /// A test under way is ended.
    ~ConnectionTest() override;

    /// Starts `program` and hands it `request`. Finished() follows once, unless a test is under way
    /// already.
    void Start(const std::string& program, const std::string& request);

    [[nodiscard]] bool IsRunning() const { return m_process != nullptr; }

signals:
    /// The result in words, plain text.
    void Finished(const QString& words);

private:
    void Read();
    void Finish(const QString& withoutAnswer);
    void EndProcess();
    [[nodiscard]] static QString Words(QByteArray answer);

    QProcess* m_process = nullptr;  // of the test under way
    QTimer m_limit;
    QByteArray m_output;
};
