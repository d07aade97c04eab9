<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
<context>
    <name>CLanguageDlg</name>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select Language</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>CMainWidget</name>
    <message>
        <source>Available Updates</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>BSP</source>
        <translation>Board Support Package (BSP)</translation>
    </message>
    <message>
        <source>Help</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Help</source>
        <comment>Title</comment>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Installed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Installer</source>
        <translation>Installer Version</translation>
    </message>
    <message>
        <source>Language</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Missing Signature File</source>
        <translation>Missing signature file</translation>
    </message>
    <message>
        <source>More than 6 packages found. Please delete or move.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Package</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Please remove USB-Stick first. Then press OK.</source>
        <translation>Please remove USB flash drive first. Then press OK.</translation>
    </message>
    <message>
        <source>Please select only one of each package type.</source>
        <translation>Please select only one package from each package type.</translation>
    </message>
    <message>
        <source>Corvane3 Update</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Signature check fails</source>
        <translation>Signature check failed</translation>
    </message>
    <message>
        <source>Start ...</source>
        <translation>Starting ...</translation>
    </message>
    <message>
        <source>Unknowen</source>
        <translation>Unknown</translation>
    </message>
    <message>
        <source>Update</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Update</source>
        <comment>Title</comment>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong BSP %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>_HelpFiles</source>
        <translation>Help Files</translation>
    </message>
    <message>
        <source>_Installer</source>
        <translation>Installer</translation>
    </message>
    <message>
        <source>_InstallerOld</source>
        <translation>Installer Old</translation>
    </message>
    <message>
        <source>_Program</source>
        <translation>Program</translation>
    </message>
</context>
<context>
    <name>CVersion</name>
    <message>
        <source>Unknown</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>CWorker</name>
    <message>
        <source>Delete %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File delete error!</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ready</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>UPDATE.CONF not found!</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unpack error: </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unpacking... This can take some minutes.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Verify key from %1</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Help</name>
    <message>
        <source>HelpText_1.</source>
        <translation>Select the required software packages or keep the pre-selection (recommended). Press &lt;i&gt;Install&lt;/i&gt; to start the update. After an installer update, a further update start is necessary.</translation>
    </message>
    <message>
        <source>HelpText_2</source>
        <translation>---</translation>
    </message>
    <message>
        <source>LanguageIconLicence</source>
        <translation>Language icon: own artwork, free for use with corvane</translation>
    </message>
</context>
</TS>
