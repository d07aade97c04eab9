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

    void add(const QString& name, int kind, const QString& version, bool selected)
    {
        UpdatePackage record;
        record.file = QFileInfo(dir.filePath(name + ".tar.bz2"));
        record.name = name;
        record.version = CVersion(version);
        record.priority = kind;
        record.selected = selected;
        packages << record;
        const QString source = dir.filePath("contents/" + name);
        TestTools::writeFile(source + "/payload", "payload");
        TestTools::writeFile(
            source + "/UPDATE.CONF", "DEST_FILE1 = " + dir.filePath("dest").toUtf8() + "\nFILE_LIST = payload\n");
        system.unpackSources.insert(record.file.fileName(), source);
    }
    CMainWidget* open()
    {
        auto* window = new CMainWidget(packages, { system, worker, CVersion("2.0.0"), CVersion("34725"), {}, false });
        QObject::connect(&worker, &CWorker::message, window, &CMainWidget::sl_Message);
        window->showMaximized();
        return window;
    }
};

// The text a person reads in the label: markup rendered, plain text as it is.
QString shownText(QWidget* window, const QString& name)
{
    const auto* label = window->findChild<QLabel*>(name);
    if (label->textFormat() == Qt::PlainText || !Qt::mightBeRichText(label->text()))
        return label->text();
    QTextDocument document;
    document.setHtml(label->text());
    return document.toPlainText();
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
        device.add("doc", KindHelpFiles, "1.0.0", true);
        device.add("extra", KindUnrecognised, "2.0.0", false);
        std::unique_ptr<CMainWidget> window(device.open());
        window->sl_BtnInstall();
        const int extraBox = window->findChild<QLabel*>("type_0")->text() == "extra" ? 0 : 1;
        QTest::mouseClick(window->findChild<QCheckBox*>(QString("checkbox_%1").arg(extraBox)), Qt::LeftButton);
        device.system.calls.clear();
        window->sl_BtnInstall();
        QCOMPARE(device.system.calls.filter("Unpack"), QStringList { "Unpack extra.tar.bz2" });
    }

    void stickTextsShownAsTyped()
    {
        Device device;
        device.add("<b>x</b>", KindUnrecognised, "1.0.0", false);
        device.packages[0].error = ErrorWrongBsp;
        device.packages[0].bsp = "<i>1</i>&amp;";
        std::unique_ptr<CMainWidget> window(device.open());
        window->sl_Message("Delete <h1>/x</h1>");
        QCOMPARE(shownText(window.get(), "type_0"), QString("<b>x</b>"));
        QCOMPARE(shownText(window.get(), "reason_0"), QString("Wrong BSP <i>1</i>&amp;"));
        QCOMPARE(shownText(window.get(), "message"), QString("Delete <h1>/x</h1>"));
    }
};

QTEST_MAIN(StickInputWindowTest)
#include "stickinputwindowtest.moc"
