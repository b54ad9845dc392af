#include "kept/vault_command.h"

#include <utility>

#include <QProcess>

#include "widgets/display_name.h"

const QString VaultCommand::kProgram = QStringLiteral("/usr/bin/corvane-vault");

VaultCommand::VaultCommand(QObject* parent, QString program)
    : QObject(parent), m_program(std::move(program)) {}

VaultCommand::~VaultCommand() {
    if (!IsRunning()) {
        return;
    }
    m_process->disconnect(this);
    if (m_isReading) {
        m_process->kill();
    }
    m_process->waitForFinished(-1);
}

void VaultCommand::Start(const QStringList& arguments) {
    if (IsRunning()) {
        return;
    }
    m_isReading = arguments.startsWith(QStringLiteral("list"));
    m_process = new QProcess(this);
    m_process->setStandardInputFile(QProcess::nullDevice());
    connect(m_process, &QProcess::finished, this, [this](int status, QProcess::ExitStatus how) {
        QStringList problems = DisplayLines(m_process->readAllStandardError());
        if (how == QProcess::CrashExit) {
            problems << tr("The program that looks after the kept copies ended unexpectedly.");
        }
        Finish(how == QProcess::NormalExit && status == 0, problems.join(u'\n'));
    });
    connect(m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            Finish(false, tr("The program that looks after the kept copies is missing or cannot be "
                             "started: %1")
                              .arg(m_program));
        }
    });
    m_process->start(m_program, arguments);
}

QStringList VaultCommand::DisplayLines(const QByteArray& bytes) {
    QStringList lines;
    for (QByteArray line : bytes.split('\n')) {
        constexpr QByteArrayView kSpeaker = "corvane-vault: ";
        if (line.startsWith(kSpeaker)) {
            line.remove(0, kSpeaker.size());
        }
        if (!line.isEmpty()) {
            lines << DisplayName(line.toStdString());
        }
    }
    return lines;
}

void VaultCommand::Finish(bool isDone, const QString& problem) {
    Result result{isDone, m_process->readAllStandardOutput(), problem};
    m_process->disconnect(this);
    m_process->deleteLater();  // it may be the one that calls
    m_process = nullptr;
    emit Finished(result);
}
