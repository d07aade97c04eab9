#include "ui/cmainwidget.h"

#include "install/cworker.h"
#include "settings/clanguagedlg.h"
#include "system/csystemtemplate.h"
#include "ui/helppage.h"

#include <QApplication>
#include <QCheckBox>
#include <QDebug>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QMessageBox>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QStyle>
#include <QStyleOption>
#include <QVBoxLayout>

#include <utility>

namespace {

// Number of package kinds (PackageKind 0 to 3).
constexpr int kindCount = 4;

QString rowName(const char* prefix, int index)
{
    return QLatin1String(prefix) + QString::number(index);
}

} // namespace

CMainWidget::CMainWidget(const QList<UpdatePackage>& packages, const CMainWidgetContext& context)
    : QWidget(nullptr)
    , m_context(context)
    , m_packages(packages)
    , m_settings(context.system.shareDir)
{
    // The second sheet replaces the first; both calls are kept as they have always been.
    setStyleSheet(QStringLiteral("* { background-color:rgb(255,255,255); padding: 7px ; color:rgb(60, 60, 60)}"));
    setStyleSheet(QStringLiteral("font-size: 24pt;"));
    setWindowFlags(windowFlags() | Qt::FramelessWindowHint);

    LoadTranslation(m_settings.GetLanguage());
    if (!m_packages.isEmpty())
        sortPackages(m_packages);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(makeTitleRow());
    m_packageBox = new QGroupBox(this);
    m_packageBox->setObjectName(QStringLiteral("packageBox"));
    m_grid = new QGridLayout(m_packageBox);
    layout->addWidget(m_packageBox, 1);
    FillTable();
    layout->addStretch(1);
    layout->addLayout(makeButtonRow(), 1);
    m_message = makeMessageLabel();
    layout->addWidget(m_message);

    connect(&m_mapper, &QSignalMapper::mappedInt, this, &CMainWidget::sl_CheckMark);
    Retranslate();
    EnableButtons(true);
}

CMainWidget::~CMainWidget() = default;

QBoxLayout* CMainWidget::makeTitleRow()
{
    auto* row = new QHBoxLayout;
    m_title = new QLabel(this);
    m_title->setObjectName(QStringLiteral("title"));
    row->addWidget(m_title, 0);
    row->addStretch(2);
    row->addWidget(makeVersionLabel(), 2);
    return row;
}

// Built once: a later language change leaves this line as it is.
QLabel* CMainWidget::makeVersionLabel()
{
    const QString pattern = QStringLiteral(
        "<small><table text-align=\"right|center|left\"><tr> <td align=\"right\">%1</td> <td> : </td> "
        "<td>%2%3</td> </tr><tr> <td align=\"right\">%4</td> <td> : </td> <td>%5</td> </tr></table></small>");
    auto* label = new QLabel(pattern.arg(tr("Installer"), m_context.installerVersion.toString(),
                                 m_context.versionSuffix, tr("BSP"), m_context.system.bspVersion),
        this);
    label->setObjectName(QStringLiteral("versionLabel"));
    return label;
}

QBoxLayout* CMainWidget::makeButtonRow()
{
    auto* row = new QHBoxLayout;
    m_install = makeButton(QStringLiteral(":/png/run"), QStringLiteral("install"), &CMainWidget::sl_BtnInstall);
    m_quit = makeButton(QStringLiteral(":/png/exit"), QStringLiteral("quit"), &CMainWidget::sl_BtnQuit);
    m_language = makeButton(QStringLiteral(":/png/lang"), QStringLiteral("language"), &CMainWidget::sl_BtnLanguage);
    m_help = makeButton(QStringLiteral(":/png/help"), QStringLiteral("help"), &CMainWidget::sl_BtnHelp);
    for (QPushButton* button : { m_install, m_quit, m_language, m_help })
        row->addWidget(button);
    return row;
}

QPushButton* CMainWidget::makeButton(const QString& icon, const QString& name, void (CMainWidget::*slot)())
{
    auto* button = new QPushButton(this);
    button->setObjectName(name);
    // From a pixmap, which saves loading the MIME database to learn the file's type.
    button->setIcon(QIcon(QPixmap(icon)));
    button->setIconSize(QSize(48, 48));
    connect(button, &QPushButton::clicked, this, slot);
    return button;
}

QLabel* CMainWidget::makeMessageLabel()
{
    auto* label = new QLabel(this);
    label->setObjectName(QStringLiteral("message"));
    // Messages carry package names, script values and tool output from the stick.
    label->setTextFormat(Qt::PlainText);
    label->setStyleSheet(QStringLiteral("background-color: LemonChiffon; inset grey;"));
    label->setFrameStyle(QFrame::Panel | QFrame::Sunken);
    label->setLineWidth(3);
    // Opaque: a message repaints the line alone, not the window beneath it. Its
    // style-sheet background is then painted by eventFilter(), as the toolkit would.
    label->setAttribute(Qt::WA_OpaquePaintEvent);
    label->installEventFilter(this);
    return label;
}

void CMainWidget::FillTable()
{
    clearTable();
    addHeaderRow();
    for (int i = 0; i < m_packages.size(); ++i)
        addPackageRow(i);
}

void CMainWidget::clearTable()
{
    while (QLayoutItem* item = m_grid->takeAt(0)) {
        if (QWidget* widget = item->widget()) {
            m_mapper.removeMappings(widget);
            delete widget;
        }
        delete item;
    }
}

void CMainWidget::addHeaderRow()
{
    const QString titles[] = { tr("Package"), tr("Installed"), tr("New"), tr("Select") };
    for (int column = 0; column < 4; ++column) {
        auto* label = new QLabel(titles[column], m_packageBox);
        label->setObjectName(rowName("header_", column));
        label->setStyleSheet(QStringLiteral("background-color: LightSteelBlue"));
        m_grid->addWidget(label, 0, column);
    }
}

void CMainWidget::addPackageRow(int index)
{
    const UpdatePackage& package = m_packages.at(index);
    const int row = index + 1;
    // The name comes from an unsigned file name on the stick: never taken as markup.
    auto* type = new QLabel(typeName(package.name), m_packageBox);
    type->setTextFormat(Qt::PlainText);
    type->setObjectName(rowName("type_", index));
    m_grid->addWidget(type, row, 0);
    auto* installed = new QLabel(package.installed.toString(), m_packageBox);
    installed->setObjectName(rowName("installed_", index));
    m_grid->addWidget(installed, row, 1, Qt::AlignRight);
    if (package.error == ErrorNone)
        addCheckBox(index, row);
    else
        addReason(index, row);
}

void CMainWidget::addCheckBox(int index, int row)
{
    UpdatePackage& package = m_packages[index];
    auto* version = new QLabel(package.version.toString(), m_packageBox);
    version->setObjectName(rowName("version_", index));
    m_grid->addWidget(version, row, 2, Qt::AlignRight);

    auto* box = new QCheckBox(m_packageBox);
    box->setObjectName(rowName("checkbox_", index));
    box->setStyleSheet(QStringLiteral("QCheckBox::indicator { width:28px; height: 28px; }"));
    box->setChecked(package.selected);
    m_mapper.setMapping(box, index);
    connect(box, &QCheckBox::clicked, &m_mapper, qOverload<>(&QSignalMapper::map));
    m_grid->addWidget(box, row, 3, Qt::AlignCenter);
    package.checkBoxIndex = index;
}

void CMainWidget::addReason(int index, int row)
{
    UpdatePackage& package = m_packages[index];
    package.selected = false;
    auto* reason = new QLabel(
        QStringLiteral("<font size=xx-small color=\"red\">%1</font>").arg(reasonText(package).toHtmlEscaped()),
        m_packageBox);
    reason->setObjectName(rowName("reason_", index));
    m_grid->addWidget(reason, row, 2, 1, 2, Qt::AlignCenter);
    package.checkBoxIndex = -1;
}

// The column shows the exact short names translated, and any other name as it is.
QString CMainWidget::typeName(const QString& name)
{
    if (name == QLatin1String("doc"))
        return tr("_HelpFiles");
    if (name == QLatin1String("bin"))
        return tr("_Program");
    if (name == QLatin1String("ins"))
        return tr("_Installer");
    if (name == QLatin1String("inst"))
        return tr("_InstallerOld");
    return name;
}

QString CMainWidget::reasonText(const UpdatePackage& package)
{
    switch (package.error) {
    case ErrorWrongBsp:
        return tr("Wrong BSP %1").arg(package.bsp);
    case ErrorMissingSignature:
        return tr("Missing Signature File");
    case ErrorSignatureInvalid:
        return tr("Signature check fails");
    default:
        return tr("Unknowen");
    }
}

void CMainWidget::Retranslate()
{
    m_title->setText(QStringLiteral("<h3>") + tr("Corvane3 Update") + QStringLiteral("</h3>"));
    m_packageBox->setTitle(tr("Available Updates"));
    m_help->setText(tr("Help"));
    m_language->setText(tr("Language"));
    m_quit->setText(tr("Quit"));
    m_install->setText(tr("Install"));
    if (m_context.truncated)
        m_message->setText(tr("More than 6 packages found. Please delete or move."));
}

void CMainWidget::LoadTranslation(const QString& name)
{
    QCoreApplication::removeTranslator(&m_translator);
    if (m_translator.load(name))
        QCoreApplication::installTranslator(&m_translator);
    else
        qDebug() << "  Load Translation failed: " << name;
}

void CMainWidget::EnableButtons(bool enable)
{
    m_quit->setEnabled(enable);
    m_language->setEnabled(enable);
    m_help->setEnabled(enable);
    m_install->setEnabled(enable && hasSelection());
}

QString CMainWidget::ShortenText(const QString& text, int limit)
{
    if (text.size() <= limit)
        return text;
    const int keep = limit - 3;
    const int left = keep / 2;
    return text.left(left) + QStringLiteral("...") + text.right(keep - left);
}

bool CMainWidget::hasSelection() const
{
    for (const UpdatePackage& package : m_packages) {
        if (package.selected)
            return true;
    }
    return false;
}

bool CMainWidget::hasKindConflict() const
{
    int perKind[kindCount] = {};
    for (const UpdatePackage& package : m_packages) {
        if (package.selected && package.priority >= 0 && package.priority < kindCount
            && ++perKind[package.priority] > 1)
            return true;
    }
    return false;
}

void CMainWidget::sl_BtnHelp()
{
    ShowHelpPage(this, tr("Help", "Title"), HelpPageText(m_context.installerVersion, m_context.installerBuild));
}

void CMainWidget::sl_BtnLanguage()
{
    CLanguageDlg dialog(this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const QString language = dialog.selectedLanguage();
    qDebug() << "sl_BtnLanguage()" << language;
    LoadTranslation(language);
    m_settings.SetLanguage(language);
    Retranslate();
    FillTable();
}

void CMainWidget::sl_BtnInstall()
{
    if (!hasSelection()) {
        // The one box of the window that has never been translated.
        QMessageBox::information(this, QStringLiteral("Update"),
            QStringLiteral("No update selected. Please select an update or chancel the installer."), QMessageBox::Ok);
        return;
    }
    if (hasKindConflict()) {
        QMessageBox::information(
            this, tr("Update"), tr("Please select only one of each package type."), QMessageBox::Ok);
        return;
    }
    EnableButtons(false);
    sl_Message(tr("Start ..."));
    const int result = m_context.worker.Install(m_packages);
    qDebug() << "sl_Install() ret=" << result;
    finishInstall(result);
    syncCheckBoxes();
    EnableButtons(true);
}

// The loop ends only after the slot has returned, so the boxes are re-synced first.
void CMainWidget::finishInstall(int result)
{
    if (result == InstallInstaller) {
        m_settings.SetReRun();
        QCoreApplication::exit(ExitNewInstaller);
    } else if (result == InstallProgram) {
        QMessageBox::information(
            this, tr("Update", "Title"), tr("Please remove USB-Stick first. Then press OK.", "PopUp"), QMessageBox::Ok);
        QCoreApplication::exit(ExitReboot);
    }
}

// The worker clears the flag of every installed record and may reorder the list;
// each record finds its box through the index it was mapped with.
void CMainWidget::syncCheckBoxes()
{
    for (const UpdatePackage& package : std::as_const(m_packages)) {
        if (package.checkBoxIndex < 0)
            continue;
        if (auto* box = qobject_cast<QCheckBox*>(m_mapper.mapping(package.checkBoxIndex))) {
            box->setChecked(package.selected);
            box->repaint();
        }
    }
}

void CMainWidget::sl_BtnQuit()
{
    qDebug() << "sl_BtnCancel()";
    QCoreApplication::exit(ExitQuit);
}

// The worker re-sorts the list during an installation, so the clicked box's record is
// found by the index the box was mapped with, not by its position in the list.
void CMainWidget::sl_CheckMark(int index)
{
    for (UpdatePackage& package : m_packages) {
        if (package.checkBoxIndex == index) {
            package.selected = !package.selected;
            break;
        }
    }
    EnableButtons(true);
}

// The installation runs on this thread, so an ordinary update would be drawn
// only after it has ended. Only the text changes: the frame around it stays as
// it was painted, which saves redrawing it once per copied file.
void CMainWidget::sl_Message(const QString& text)
{
    m_message->setText(ShortenText(text, messageLimit));
    m_message->repaint(m_message->contentsRect());
}

// The message line's style-sheet background, painted before the line itself.
bool CMainWidget::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_message && event->type() == QEvent::Paint) {
        QStyleOption option;
        option.initFrom(m_message);
        QPainter painter(m_message);
        m_message->style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, m_message);
    }
    return QWidget::eventFilter(watched, event);
}
