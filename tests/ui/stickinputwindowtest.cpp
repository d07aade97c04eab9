#include "common/fakesystem.h"
#include "common/testtools.h"
#include "install/cworker.h"
#include "ui/cmainwidget.h"

#include <QCheckBox>
#include <QLabel>
#include <QTemporaryDir>
#include <QTest>
#include <QTextDocument>

namespace {

// A window over a fake device whose packages each install one file.
struct Device {
    QTemporaryDir dir;
    CFakeSystem system { dir.filePath("share/"), dir.filePath("unpack") };
    CWorker worker { system };
    QList<UpdatePackage> packages;

    UpdatePackage& add(const QString& name, int kind, const QString& version)
    {
        const QString source = dir.filePath("contents/" + name);
        TestTools::writeFile(source + "/payload", "payload");
        TestTools::writeFile(source + "/UPDATE.CONF", "DEST_FILE1 = " + source.toUtf8() + "\nFILE_LIST = payload\n");
        system.unpackSources.insert(name + ".tar.bz2", source);
        packages << UpdatePackage(QFileInfo(dir.filePath(name + ".tar.bz2")));
        packages.last().version = CVersion(version);
        packages.last().priority = kind;
        return packages.last();
    }
    std::unique_ptr<CMainWidget> open()
    {
        std::unique_ptr<CMainWidget> window(
            new CMainWidget(packages, { system, worker, CVersion("2.0.0"), CVersion("34725"), {}, false }));
        window->showMaximized();
        return window;
    }
};

// The text a person reads in the label: rich text rendered, plain text as it is.
QString shownText(QWidget* window, const char* name)
{
    const auto* label = window->findChild<QLabel*>(name);
    QTextDocument document;
    document.setHtml(label->text());
    return label->textFormat() == Qt::PlainText ? label->text() : document.toPlainText();
}

} // namespace

// What the window shows of packages from an untrusted stick, and which record a box changes.
class StickInputWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Sorting twice swaps these two records, so the list's order differs after an installation.
    void boxTogglesItsOwnRecordAfterAnInstallation()
    {
        Device device;
        device.add("doc", KindHelpFiles, "1.0.0").selected = true;
        device.add("extra", KindUnrecognised, "2.0.0");
        const auto window = device.open();
        window->sl_BtnInstall();
        const int extraBox = window->findChild<QLabel*>("type_0")->text() == "extra" ? 0 : 1;
        QTest::mouseClick(window->findChild<QCheckBox*>(QString("checkbox_%1").arg(extraBox)), Qt::LeftButton);
        window->sl_BtnInstall();
        QCOMPARE(device.system.calls.filter("Unpack"), QStringList({ "Unpack doc.tar.bz2", "Unpack extra.tar.bz2" }));
    }

    void stickTextsShownAsTyped()
    {
        Device device;
        UpdatePackage& package = device.add("<big>x", KindUnrecognised, "1.0.0");
        package.error = ErrorWrongBsp;
        package.bsp = "<i>1</i>&amp;";
        const auto window = device.open();
        window->sl_Message("Delete <h1>/x</h1>");
        QCOMPARE(shownText(window.get(), "type_0"), QString("<big>x"));
        QCOMPARE(shownText(window.get(), "reason_0"), QString("Wrong BSP <i>1</i>&amp;"));
        QCOMPARE(shownText(window.get(), "message"), QString("Delete <h1>/x</h1>"));
    }
};

QTEST_MAIN(StickInputWindowTest)
#include "stickinputwindowtest.moc"
