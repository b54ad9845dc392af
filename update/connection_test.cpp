#include "update/connection_test.h"

#include <utility>

#include <QProcess>

#include "widgets/display_name.h"

namespace {

// The longest line that is looked at; what comes after it is dropped.
constexpr qsizetype kLongestAnswer = 4096;

// As much of a reason in the program's own words as is shown.
constexpr qsizetype kLongestReason = 160;

}  // namespace

ConnectionTest::ConnectionTest(QObject* parent, std::chrono::milliseconds limit) : QObject(parent) {
    m_limit.setSingleShot(true);
    m_limit.setInterval(limit);
    connect(&m_limit, &QTimer::timeout, this,
            [this] { Finish(tr("There was no answer in time; the test was ended.")); });
}

ConnectionTest::~ConnectionTest() {
    if (IsRunning()) {
        EndProcess();
    }
}

void ConnectionTest::Start(const std::string& program, const std::string& request) {
    if (IsRunning()) {
        return;
    }
    m_output.clear();
    m_process = new QProcess(this);
    m_process->setStandardErrorFile(QProcess::nullDevice());
    connect(m_process, &QProcess::readyReadStandardOutput, this, &ConnectionTest::Read);
    connect(m_process, &QProcess::finished, this, [this] {
        Read();
        Finish(tr("The test ended without a result."));
    });
    connect(m_process, &QProcess::errorOccurred, this,
            [this, program](QProcess::ProcessError error) {
                if (error == QProcess::FailedToStart) {
                    Finish(tr("The program that tests the connection is missing or cannot be "
                              "started: %1")
                               .arg(DisplayName(program)));
                }
            });
    m_limit.start();
    m_process->start(QString::fromStdString(program), {QStringLiteral("--test")});
    if (m_process != nullptr) {  // it may have failed at once
        // The input stays open: its end would stop the test.
        m_process->write(request.data(), static_cast<qint64>(request.size()));
    }
}

void ConnectionTest::Read() {
    m_output += m_process->readAllStandardOutput();
    m_output.truncate(kLongestAnswer);
}

void ConnectionTest::Finish(const QString& withoutAnswer) {
    m_limit.stop();
    EndProcess();
    const qsizetype end = m_output.indexOf('\n');
    emit Finished(end < 0 ? withoutAnswer : Words(m_output.left(end)));
}

void ConnectionTest::EndProcess() {
    m_process->disconnect(this);
    if (m_process->state() != QProcess::NotRunning) {
        m_process->kill();
        m_process->waitForFinished();
    }
    // Not at once: it may be the one that calls.
    m_process->deleteLater();
    m_process = nullptr;
}

QString ConnectionTest::Words(QByteArray answer) {
    constexpr QByteArrayView kFailed = "test failed ";
    const std::pair<QByteArrayView, QString> kAnswers[] = {
        {"test ok", tr("The connection works.")},
        {"test name-not-found", tr("The name of the server was not found.")},
        {"test refused", tr("The server refused the connection.")},
        {"test proxy-authentication",
         tr("The proxy server does not accept the user ID and password (error 407).")},
        {"test certificate", tr("The certificate of the server cannot be trusted.")},
        {"test no-answer", tr("There was no answer within 10 seconds.")},
    };
    for (const auto& [line, words] : kAnswers) {
        if (answer == line) {
            return words;
        }
    }
    if (answer.startsWith(kFailed)) {
        answer = QByteArray::fromPercentEncoding(answer.mid(kFailed.size()));
    }
    return tr("The test failed: %1").arg(DisplayName(answer.toStdString()).left(kLongestReason));
}
