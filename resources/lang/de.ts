<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>CLanguageDlg</name>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Select Language</source>
        <translation>Sprache wählen</translation>
    </message>
</context>
<context>
    <name>CMainWidget</name>
    <message>
        <source>Available Updates</source>
        <translation>Verfügbare Updates</translation>
    </message>
    <message>
        <source>BSP</source>
        <translation>Board Support Package (BSP)</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Hilfe</translation>
    </message>
    <message>
        <source>Help</source>
        <comment>Title</comment>
        <translation>Hilfe</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Installieren</translation>
    </message>
    <message>
        <source>Installed</source>
        <translation>Installiert</translation>
    </message>
    <message>
        <source>Installer</source>
        <translation>Installer-Version</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Sprache</translation>
    </message>
    <message>
        <source>Missing Signature File</source>
        <translation>Signaturdatei fehlt</translation>
    </message>
    <message>
        <source>More than 6 packages found. Please delete or move.</source>
        <translation>Mehr als 6 Pakete gefunden. Bitte löschen oder verschieben.</translation>
    </message>
    <message>
        <source>New</source>
        <translation>Neu</translation>
    </message>
    <message>
        <source>Package</source>
        <translation>Paket</translation>
    </message>
    <message>
        <source>Please remove USB-Stick first. Then press OK.</source>
        <translation>Bitte entfernen Sie zuerst den USB-Stick. Drücken Sie dann OK.</translation>
    </message>
    <message>
        <source>Please select only one of each package type.</source>
        <translation>Bitte wählen Sie von jedem Pakettyp jeweils nur ein Paket aus.</translation>
    </message>
    <message>
        <source>Corvane3 Update</source>
        <translation>Corvane3-Update</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Select</source>
        <translation>Auswählen</translation>
    </message>
    <message>
        <source>Signature check fails</source>
        <translation>Signaturprüfung fehlgeschlagen</translation>
    </message>
    <message>
        <source>Start ...</source>
        <translation>Starten ...</translation>
    </message>
    <message>
        <source>Unknowen</source>
        <translation>Unbekannt</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Update</translation>
    </message>
    <message>
        <source>Update</source>
        <comment>Title</comment>
        <translation>Update</translation>
    </message>
    <message>
        <source>Wrong BSP %1</source>
        <translation>Falsches BSP %1</translation>
    </message>
    <message>
        <source>_HelpFiles</source>
        <translation>Hilfe-Dateien</translation>
    </message>
    <message>
        <source>_Installer</source>
        <translation>Installer</translation>
    </message>
    <message>
        <source>_InstallerOld</source>
        <translation>Installer alt</translation>
    </message>
    <message>
        <source>_Program</source>
        <translation>Programm</translation>
    </message>
</context>
<context>
    <name>CVersion</name>
    <message>
        <source>Unknown</source>
        <translation>Unbekannt</translation>
    </message>
</context>
<context>
    <name>CWorker</name>
    <message>
        <source>Delete %1</source>
        <translation>Lösche %1</translation>
    </message>
    <message>
        <source>File delete error!</source>
        <translation>Fehler beim Löschen von Dateien!</translation>
    </message>
    <message>
        <source>Ready</source>
        <translation>Fertig</translation>
    </message>
    <message>
        <source>UPDATE.CONF not found!</source>
        <translation>UPDATE.CONF nicht gefunden!</translation>
    </message>
    <message>
        <source>Unpack error: </source>
        <translation>Fehler beim Entpacken: </translation>
    </message>
    <message>
        <source>Unpacking... This can take some minutes.</source>
        <translation>Entpacken... Dies kann einige Minuten dauern.</translation>
    </message>
    <message>
        <source>Verify key from %1</source>
        <translation>Vergleiche Schlüssel von %1</translation>
    </message>
</context>
<context>
    <name>Help</name>
    <message>
        <source>HelpText_1.</source>
        <translation>Wählen Sie die benötigten Software-Pakete aus oder belassen es bei der Vorauswahl (empfohlen). Um das Update zu starten, drücken Sie &lt;i&gt;Installieren&lt;/i&gt;. Nach einem Update des Installers ist ein weiterer Update-Start notwendig.</translation>
    </message>
    <message>
        <source>HelpText_2</source>
        <translation>---</translation>
    </message>
    <message>
        <source>LanguageIconLicence</source>
        <translation>Sprachsymbol: eigene Grafik, frei verwendbar mit corvane</translation>
    </message>
</context>
</TS>
