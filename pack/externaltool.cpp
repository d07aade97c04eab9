#include "pack/externaltool.h"

#include <QProcess>
#include <QProcessEnvironment>

ExternalRun runExternal(const QString& program, const QStringList& arguments)
{
    QProcess process;
    // Listings and messages in the C locale, whatever the host's language.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    ExternalRun run;
    const bool started = process.waitForStarted(-1);
    if (started)
        process.waitForFinished(-1);
    run.output = process.readAllStandardOutput();
    // One line, so that it fits a finding or a message line.
    const QString errors = QString::fromLocal8Bit(process.readAllStandardError())
                               .trimmed()
                               .replace(QLatin1Char('\n'), QStringLiteral("; "));
    run.ok = started && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (!run.ok) {
        const QString why = !started ? process.errorString()
            : !errors.isEmpty()      ? errors
                                     : QStringLiteral("exit status %1").arg(process.exitCode());
        run.failure = QStringLiteral("%1 failed: %2").arg(program, why);
    }
    return run;
}
