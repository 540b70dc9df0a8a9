#include "platform/qt/QtDesktop.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDesktopServices>
#include <QFile>
#include <QProcess>
#include <QThread>

#include <cerrno>
#include <csignal>

using namespace Qt::Literals::StringLiterals;

namespace {

// The process that asked for the relaunch, by its id, for the new process to wait for.
constexpr char replacingVariable[] = "PONDRIFT_REPLACING";

// An ended process stays a zombie until its parent reaps it, and a zombie still answers
// kill(); a launcher that is slow to reap must not hold the new process up.
bool isRunning(qint64 pid)
{
    if (::kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH)
        return false;
    QFile stat(u"/proc/%1/stat"_s.arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return true;
    const QByteArray line = stat.readAll();
    // "pid (name) S ...": the name may hold spaces and parentheses, the state follows the last.
    const qsizetype close = line.lastIndexOf(')');
    return close < 0 || line.size() <= close + 2 || line.at(close + 2) != 'Z';
}

} // namespace

bool QtDesktop::openUrl(const QUrl& url) { return QDesktopServices::openUrl(url); }

// The old process does not give up the single instance before the new one starts: should
// the start fail, it would have to claim it again, and another start could have taken it in
// between. The new process waits for the old one to be gone instead, so the two never run
// over the notes together, and the new one reads the settings the old one writes as it ends.
QString QtDesktop::relaunch()
{
    // A package upgraded under the running program leaves the link to the old file marked as
    // deleted; the new file under the same name is the one to start.
    QString program = QCoreApplication::applicationFilePath();
    if (const QString deleted = u" (deleted)"_s; program.endsWith(deleted))
        program.chop(deleted.size());
    QProcess process;
    process.setProgram(program);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(replacingVariable),
                       QString::number(QCoreApplication::applicationPid()));
    process.setProcessEnvironment(environment);
    if (!process.startDetached())
        return process.errorString();
    return {};
}

void QtDesktop::awaitReplacedProcess()
{
    const QByteArray value = qgetenv(replacingVariable);
    // Its own later starts are ordinary ones.
    qunsetenv(replacingVariable);
    bool ok = false;
    const qint64 pid = value.toLongLong(&ok);
    if (!ok || pid <= 0)
        return;
    // The old process saves and closes its windows first; a minute covers a slow disk, and
    // after it the ordinary single-instance rules decide.
    QDeadlineTimer deadline(60'000);
    while (isRunning(pid) && !deadline.hasExpired())
        QThread::msleep(20);
}
