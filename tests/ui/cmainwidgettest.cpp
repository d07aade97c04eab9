#include "ui/cmainwidget.h"
#include "common/fakesystem.h"
#include "common/golden.h"
#include "common/testtools.h"
#include "common/widgetdump.h"
#include "install/cworker.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>
#include <utility>

namespace {

// Runs action in the application's event loop; the code the loop was ended with,
// or "window stays" when action did not end it.
QString runForExitCode(const std::function<void()>& action)
{
    constexpr int notEnded = -100;
    // A timer added while timers are being activated fires in a later pass, so an
    // exit requested by action ends the loop first.
    QObject guard;
    QTimer::singleShot(0, &guard, [action, &guard] {
        action();
        QTimer::singleShot(0, &guard, [] { QCoreApplication::exit(notEnded); });
    });
    const int code = QApplication::exec(); // unlike QEventLoop, clears the quit request again
    return code == notEnded ? QStringLiteral("window stays") : QStringLiteral("exit %1").arg(code);
}

// The window on a fake device, driven by a list of actions; everything a person
// sees on the way is written to a transcript.
class Session {
    QTemporaryDir m_dir; // first: the fake device lives in it

public:
    Session()
        : system(m_dir.path() + QLatin1Char('/'), m_dir.filePath(QStringLiteral("unpack")))
        , worker(system)
    {
        // 59 characters in English, the longest message line shown whole.
        system.unpackError = QStringLiteral("bzip2: (stdin) is not a bzip2 file. tar: exit");
        // Every package unpacks to an UPDATE.CONF that copies one file into dest.
        TestTools::writeFile(m_dir.filePath(QStringLiteral("contents/payload")), "payload");
        TestTools::writeFile(m_dir.filePath(QStringLiteral("contents/UPDATE.CONF")),
            "DEST_FILE1 = " + QFile::encodeName(m_dir.filePath(QStringLiteral("dest"))) + "\nFILE_LIST = payload\n");
        // Connected before the window: the first message finds the window as it is
        // when the installation starts.
        QObject::connect(&worker, &CWorker::message, [this](const QString& text) {
            if (std::exchange(m_installStarting, false))
                log("-- window during the installation\n" + WidgetDump::tree(window.get()));
            log("message " + text);
        });
        QObject::connect(&m_modalPoll, &QTimer::timeout, [this] { closeModal(); });
        m_modalPoll.start(10);
    }

    // Records from "archive installed flags" items separated by commas, the archive
    // named without ".tar.bz2"; flags: + selected, u installable, a digit the error.
    // A trailing "..." marks a list cut at the package limit.
    void open(const QString& stick, const QByteArray& ini)
    {
        if (!ini.isEmpty())
            TestTools::writeFile(iniPath(), ini);
        QList<UpdatePackage> records;
        for (const QString& item : stick.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
            const QStringList field = item.split(QLatin1Char(' '), Qt::SkipEmptyParts) << QString() << QString();
            UpdatePackage record(QFileInfo(m_dir.filePath(field.at(0) + QStringLiteral(".tar.bz2"))));
            parseName(record, QStringLiteral("1.36.0"));
            record.installed = CVersion(field.at(1));
            record.selected = field.at(2).contains(QLatin1Char('+'));
            record.error = field.at(2).right(1).toInt();
            if (field.at(2).contains(QLatin1Char('u')))
                system.unpackSources.insert(record.file.fileName(), m_dir.filePath(QStringLiteral("contents")));
            if (field.at(0) != QLatin1String("..."))
                records << record;
        }
        const CMainWidgetContext context { system, worker, CVersion(QStringLiteral("2.0.0")),
            CVersion(QStringLiteral("34725")), QString(), stick.endsWith(QLatin1String("...")) };
        window = std::make_unique<CMainWidget>(records, context);
        QObject::connect(&worker, &CWorker::message, window.get(), &CMainWidget::sl_Message);
        window->showMaximized();
    }

    void act(const QString& action)
    {
        if (action == QLatin1String("dump")) {
            QCoreApplication::processEvents(); // rebuilt rows are shown from the event loop
            log("-- window\n" + WidgetDump::tree(window.get()));
        } else if (action != QLatin1String("install") && action != QLatin1String("quit")) {
            m_choice = action.section(QLatin1Char(':'), 1); // a button of the language dialog
            if (auto* button = window->findChild<QAbstractButton*>(action.section(QLatin1Char(':'), 0, 0)))
                button->click();
        } else {
            const bool install = m_installStarting = action == QLatin1String("install");
            log(runForExitCode([this, install] { install ? window->sl_BtnInstall() : window->sl_BtnQuit(); }));
            log("calls " + std::exchange(system.calls, {}).join(QLatin1String(", ")));
        }
        const bool installable = window->findChild<QAbstractButton*>(QStringLiteral("install"))->isEnabled();
        log(action + (installable ? ": Install enabled" : ": Install disabled"));
    }

    // The transcript after the window was closed, with the temporary directory masked.
    QString close()
    {
        log("installer.ini while open: " + TestTools::readFile(iniPath()));
        window.reset();
        log("installer.ini after: " + TestTools::readFile(iniPath()));
        return m_transcript.replace(m_dir.path(), QLatin1String("<dir>"));
    }

    CFakeSystem system;
    CWorker worker;
    std::unique_ptr<CMainWidget> window;

private:
    QString iniPath() const { return system.shareDir + QStringLiteral("installer.ini"); }
    // Adds the window's own debug lines written since the last entry, then text; the
    // worker's lines are left to its tests.
    void log(const QString& text)
    {
        for (const QString& line : m_diagnostics.lines().mid(std::exchange(m_logged, m_diagnostics.lines().size()))) {
            if (line.startsWith(QLatin1String("debug: sl_"))
                || line.startsWith(QLatin1String("debug:   Load Translation")))
                m_transcript += "debug " + line.mid(7) + '\n';
        }
        m_transcript += text + (text.endsWith(QLatin1Char('\n')) ? "" : "\n");
    }

    // Dumps the modal window shown, then closes it: boxes with OK, the language
    // dialog with the chosen flag or its cancel button.
    void closeModal()
    {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal || !modal->isVisible())
            return;
        log("-- modal\n" + WidgetDump::tree(modal));
        if (auto* box = qobject_cast<QMessageBox*>(modal))
            box->button(QMessageBox::Ok)->click();
        else
            modal->findChild<QAbstractButton*>(m_choice)->click();
    }

    const TestTools::CDiagnosticsRecorder m_diagnostics { true };
    int m_logged = 0;
    QTimer m_modalPoll;
    bool m_installStarting = false;
    QString m_choice;
    QString m_transcript;
};

} // namespace

// The main window driven as a technician would, one transcript per session.
class CMainWidgetTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void session_data();
    void session();
    void messagePaintedAtOnce();
};

// One session per line of data/sessions.txt: name | stick | installer.ini ("\n" for
// a line end; empty: no file) | actions.
void CMainWidgetTest::session_data()
{
    QTest::addColumn<QStringList>("field");
    for (const QString& line : TestTools::dataLines(QStringLiteral("ui/data/sessions.txt")))
        QTest::newRow(qPrintable(line.section(QLatin1Char(' '), 0, 0))) << line.split(QStringLiteral(" | "));
}

void CMainWidgetTest::session()
{
    QFETCH(QStringList, field);
    Session session;
    session.open(field.at(1), field[2].replace(QLatin1String("\\n"), QLatin1String("\n")).toUtf8());
    for (const QString& action : field.at(3).split(QLatin1Char(' ')))
        session.act(action);
    const QString reference = QStringLiteral("ui/data/%1.ref").arg(field.at(0));
    QVERIFY2(Golden::matches(reference, session.close()), qPrintable(reference));
}

// Each message is on the screen as soon as it is shown, just as painting the whole
// window would draw it, while the installation still keeps the event loop waiting.
void CMainWidgetTest::messagePaintedAtOnce()
{
    Session session;
    session.open(QStringLiteral("doc-1.0.4-BSP-1.36.0 1.0.2 +u"), {});
    QVERIFY(QTest::qWaitForWindowExposed(session.window.get()));
    const auto image = [](const QPixmap& pixmap) { return pixmap.toImage().convertToFormat(QImage::Format_RGB32); };
    for (const QString& text : { QStringLiteral("Start ..."), QString(70, QLatin1Char('W')), QString() }) {
        session.window->sl_Message(text);
        const QImage shown = image(QGuiApplication::primaryScreen()->grabWindow(session.window->winId()));
        QVERIFY2(shown == image(session.window->grab()), qPrintable(text));
    }
}

QTEST_MAIN(CMainWidgetTest)
#include "cmainwidgettest.moc"
