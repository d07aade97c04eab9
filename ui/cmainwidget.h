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
class QGridLayout;
class QGroupBox;
class QLabel;
class QPushButton;

// The process-wide objects the main window reads or drives.
struct CMainWidgetContext
{
    CSystemTemplate& system;    // BSP version, share directory (settings)
    CWorker& worker;            // runs the installation
    CVersion installerVersion;  // shown in the version line and on the help page
    CVersion installerBuild;    // shown on the help page
    QString versionSuffix;      // third field of the version line
    bool truncated;             // more packages on the medium than were taken
};

// The installer's full-screen window: version line, package table with check
// boxes, message line and the Install, Quit, Language and Help buttons.
class CMainWidget : public QWidget
{
    Q_OBJECT

public:
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

    // Text of at most limit characters: longer ones keep their start and end around "...".
    [[nodiscard]] static QString ShortenText(const QString& text, int limit);

    [[nodiscard]] const QList<UpdatePackage>& packages() const { return m_packages; }
    [[nodiscard]] CParameter& settings() { return m_settings; }

public Q_SLOTS:
    void sl_BtnHelp();
    void sl_BtnLanguage();
    void sl_BtnInstall();
    void sl_BtnQuit();
    void sl_CheckMark(int index);
    void sl_Message(const QString& text);

private:
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
