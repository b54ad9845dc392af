#pragma once

#include <QByteArray>
#include <QObject>
#include <QStringList>

class QProcess;

/// Runs `corvane-vault` beside the event loop, one command at a time: a vault may hold thousands of
/// files. GUI thread only.
class VaultCommand : public QObject {
    Q_OBJECT

public:
    /// Where the program is installed.
    static const QString kProgram;

    /// How a command went.
    struct Result {
        bool isDone = false;  ///< whole and without a problem
        QByteArray output;
        QString problem;  ///< plain text, a line for each; empty when there was none
    };

    explicit VaultCommand(QObject* parent = nullptr, QString program = kProgram);
    /// A command that only reads is ended; any other is waited for.
    ~VaultCommand() override;

    /// Finished() follows once, unless a command is under way already.
    void Start(const QStringList& arguments);

    [[nodiscard]] bool IsRunning() const { return m_process != nullptr; }

signals:
    void Finished(const VaultCommand::Result& result);

private:
    static QStringList DisplayLines(const QByteArray& bytes);
    void Finish(bool isDone, const QString& problem);

    QString m_program;
    QProcess* m_process = nullptr;  // of the command under way
    bool m_isReading = false;
};
