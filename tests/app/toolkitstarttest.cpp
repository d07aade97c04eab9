// What a start asks the toolkit for (platform, input plugins, the platform's own
// input), per command line, QWS_MOUSE_PROTO and what the environment already sets,
// and the frame buffer looked at before the toolkit starts.
#include "app/toolkitstart.h"
#include "common/golden.h"
#include "common/testtools.h"

#include <QTest>

class ToolkitStartTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void variables()
    {
        const QStringList plugins { "tslib", "evdevtouch", "evdevmouse", "evdevkeyboard" };
        QString text;
        for (const QString& line : TestTools::dataLines(QStringLiteral("app/data/toolkitstart.txt"))) {
            const QStringList row = line.split(QStringLiteral(" | ")); // arguments | QWS_MOUSE_PROTO | set
            QProcessEnvironment environment;
            for (const QString& setting : row[2].split(QLatin1Char(' '), Qt::SkipEmptyParts))
                environment.insert(setting.section(QLatin1Char('='), 0, 0), setting.section(QLatin1Char('='), 1));
            text += line + QLatin1Char('\n');
            const QStringList arguments = row[0].split(QLatin1Char(' '), Qt::SkipEmptyParts);
            for (const ToolkitVariable& variable :
                toolkitVariables(arguments, row[1].mid(1).chopped(1).split(QLatin1Char(' ')), environment, plugins)) {
                text += QStringLiteral("    ") + variable.name + '=' + variable.value + '\n';
                environment.insert(QString::fromLatin1(variable.name), QString::fromLocal8Bit(variable.value));
            }
            const QString frameBuffer = frameBufferFor(platformNamed(arguments, environment), environment);
            text += frameBuffer.isEmpty() ? QString()
                                          : QStringLiteral("    frame buffer checked: %1\n").arg(frameBuffer);
        }
        QCOMPARE_GOLDEN("app/data/toolkitstart.ref", text);
    }
};

QTEST_GUILESS_MAIN(ToolkitStartTest)
#include "toolkitstarttest.moc"
