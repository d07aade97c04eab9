#pragma once

#include "discovery/cversion.h"
#include "discovery/updatepackage.h"
#include "settings/cparameter.h"

#include <QList>
#include <QSignalMapper>
#include <QString>
#include <QTranslator>
#include <QWidget>

class CSystemTemplate;
class CWorker;
class QBoxLayout;
class QGridLayout;
class QGroupBox;
class QLabel;
class QPushButton;

// The process-wide objects the main window reads or drives.
struct CMainWidgetContext {
    CSystemTemplate& system; // BSP version, share directory (settings)
    CWorker& worker; // runs the installation
    CVersion installerVersion; // shown in the version line and on the help page
    CVersion installerBuild; // shown on the help page
    QString versionSuffix; // third field of the version line
    bool truncated; // more packages on the medium than were taken
};

// Event-loop exit codes with which the window ends the run.
enum MainWidgetExitCode {
    ExitQuit = 1, // start the main application again
    ExitNewInstaller = 2, // run the newly installed installer
    ExitReboot = 3, // reboot the device
};

// The installer's full-screen window: version line, package table with check
// boxes, message line and the Install, Quit, Language and Help buttons.
//
// Object names for finding the widgets: "title", "versionLabel", "packageBox",
// "header_<column>", "type_<i>", "installed_<i>", "version_<i>", "checkbox_<i>",
// "reason_<i>" (i: the record's index in packages() when the table was built;
// an installation may reorder the list since), "install", "quit", "language", "help",
// "message".
class CMainWidget : public QWidget {
    Q_OBJECT

public:
    // Longest text the message line shows whole.
    static constexpr int messageLimit = 59;

    // Copies and sorts packages, loads the language stored in the settings and
    // builds the whole window.
    CMainWidget(const QList<UpdatePackage>& packages, const CMainWidgetContext& context);
    ~CMainWidget() override;

    // Empties and rebuilds the package grid from the package list.
    void FillTable();
    // Sets every translated text of the window again.
    void Retranslate();
    // Replaces the window's translation with the catalogue at name.
    void LoadTranslation(const QString& name);
    // Quit, Language and Help get enable; Install also needs a selected record.
    void EnableButtons(bool enable);

    // The package type shown in the table's first column: the translated name of
    // "doc", "bin", "ins" and "inst", any other name as it is.
    [[nodiscard]] static QString typeName(const QString& name);
    // Why a record with an error cannot be selected, translated.
    [[nodiscard]] static QString reasonText(const UpdatePackage& package);

    // Text of at most limit characters: longer ones keep their start and end around "...".
    [[nodiscard]] static QString ShortenText(const QString& text, int limit);

    [[nodiscard]] const QList<UpdatePackage>& packages() const { return m_packages; }
    [[nodiscard]] CParameter& settings() { return m_settings; }

public Q_SLOTS:
    // Shows the help page: instructions, installer version and build, logo.
    void sl_BtnHelp();
    // Lets the user pick a language; on a choice re-labels the window and rebuilds the table.
    void sl_BtnLanguage();
    // Checks the selection, installs it and ends the event loop when the result asks for it.
    void sl_BtnInstall();
    // Ends the event loop with ExitQuit.
    void sl_BtnQuit();
    // Toggles the selection of the record at index (a row's check box was clicked).
    void sl_CheckMark(int index);
    // Shows text, shortened, in the message line and draws it at once.
    void sl_Message(const QString& text);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QBoxLayout* makeTitleRow();
    QLabel* makeVersionLabel();
    QBoxLayout* makeButtonRow();
    QPushButton* makeButton(const QString& icon, const QString& name, void (CMainWidget::*slot)());
    QLabel* makeMessageLabel();

    void clearTable();
    void addHeaderRow();
    void addPackageRow(int index);
    void addCheckBox(int index, int row);
    void addReason(int index, int row);

    [[nodiscard]] bool hasSelection() const;
    [[nodiscard]] bool hasKindConflict() const;
    void finishInstall(int result);
    void syncCheckBoxes();

    CMainWidgetContext m_context;
    QList<UpdatePackage> m_packages;
    QSignalMapper m_mapper;
    CParameter m_settings;
    QTranslator m_translator;
    QLabel* m_title = nullptr;
    QGroupBox* m_packageBox = nullptr;
    QGridLayout* m_grid = nullptr;
    QPushButton* m_install = nullptr;
    QPushButton* m_quit = nullptr;
    QPushButton* m_language = nullptr;
    QPushButton* m_help = nullptr;
    QLabel* m_message = nullptr;
};
