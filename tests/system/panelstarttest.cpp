// Starting as on the panel, "pkgupdate -qws /media/usb" with QWS_MOUSE_PROTO naming the
// touch driver, on the simulated device. That device has no frame buffer, input devices
// or X server: the installer ends before the toolkit starts when the frame buffer the
// platform would use is missing. With QT_QPA_FB_DRM=1 the toolkit starts on the missing
// DRM device instead, so its own diagnostics on the console tell which inputs were tried. A keyboard the toolkit is
// told to look for (QT_QPA_EVDEV_KEYBOARD_PARAMETERS) shows whether the platform's own input was on.
#include "common/golden.h"
#include "common/sandboxrun.h"
#include "common/testtools.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

#define REFERENCE "system/data/panelstart-qt" QT_STRINGIFY(QT_VERSION_MAJOR) ".ref"

class PanelStartTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // The reference's lines that do not start with a blank are the starts,
    // "[NAME=value...] pkgupdate ARGUMENTS..." (double quotes group words); each is
    // made again and followed by the indented lines of what it gave.
    void starts()
    {
        qunsetenv("QT_QPA_PLATFORM"); // the sandbox would hand the tests' own platform on
        QTemporaryDir work, stick;
        QVERIFY(TestTools::CPackageMaker(work.path()).makeSample("doc", stick.path(), "1.36.0"));
        const auto multiline = QRegularExpression::MultilineOption;
        QString text;
        for (const QString& line : QString(TestTools::readFile(TestPaths::source("tests/" REFERENCE))).split('\n')) {
            const QStringList words = QProcess::splitCommand(line);
            const int command = words.indexOf("pkgupdate");
            if (line.startsWith(' ') || command < 0)
                continue;
            SandboxRun device(work.filePath(QString::number(text.size())));
            // The console is a plain file here: the codes that hide its cursor would overwrite it.
            device.options = QStringList { "--stick", stick.path(), "--setenv", "QT_QPA_PRESERVE_CONSOLE_STATE", "1" };
            for (const QString& setting : words.mid(0, command))
                device.options << "--setenv" << setting.section('=', 0, 0) << setting.section('=', 1);
            const auto result = device.run(QStringList { TestPaths::executable() } + words.mid(command + 1));
            text += line + QString("\n    exit %1, called [%2]\n").arg(result.exitCode).arg(device.calls().join(", "));
            // Leaves out empty lines, the list of plugins found, and a line from a thread of its own.
            const QRegularExpression unsteady("^(|Available platform plugins.*|no screens available,.*)\n", multiline);
            QStringList console = QString(device.console()).remove(unsteady).split('\n', Qt::SkipEmptyParts);
            // After the two lines of the scan, in order: the input handlers write from threads of their own.
            std::sort(console.begin() + qMin(2, console.size()), console.end());
            text += QString(console.join('\n') + '\n').replace(QRegularExpression("^(?=.)", multiline), "    ");
        }
        QCOMPARE_GOLDEN(REFERENCE, text);
    }
};

QTEST_GUILESS_MAIN(PanelStartTest)
#include "panelstarttest.moc"
