#include "pack/commandline.h"

#include "discovery/installerversion.h"
#include "pack/packcommands.h"

#include <QTextStream>

#include <algorithm>
#include <utility>

CCommandLine::CCommandLine(const QString& subcommand, const Help& help, const QList<Option>& options)
    : m_subcommand(subcommand)
    , m_help(help)
    , m_options(options)
{
    // build's --version is the package's; there "pkgupdate-pack --version" tells the toolkit's.
    const bool ownVersion = std::any_of(m_options.cbegin(), m_options.cend(),
        [](const Option& option) { return qstrcmp(option.name, "version") == 0; });
    if (!ownVersion)
        m_options.append({ "version", nullptr, QStringLiteral("show the version and exit") });
    m_options.append({ "help", nullptr, QStringLiteral("show this help and exit") });
    for (const Option& option : std::as_const(m_options)) {
        QStringList names { QLatin1String(option.name) };
        if (names.constFirst() == QLatin1String("help"))
            names.prepend(QStringLiteral("h")); // the short form most commands take
        m_parser.addOption(option.valueName ? QCommandLineOption(names, QString(), QLatin1String(option.valueName))
                                            : QCommandLineOption(names));
    }
}

int CCommandLine::parse(const QStringList& arguments)
{
    if (!m_parser.parse(arguments))
        return usageError(m_parser.errorText());
    if (m_parser.isSet(QStringLiteral("help"))) {
        QTextStream(stdout) << helpText();
        return PackCommands::ExitOk;
    }
    if (m_parser.isSet(QStringLiteral("version")) && m_parser.value(QStringLiteral("version")).isEmpty()) {
        QTextStream(stdout) << versionLine();
        return PackCommands::ExitOk;
    }
    return -1;
}

QString CCommandLine::versionLine()
{
    // The toolkit is built and released with the installer whose rules it applies.
    return QStringLiteral("pkgupdate-pack %1 (installer build %2)\n")
        .arg(QLatin1String(InstallerVersion::version), QLatin1String(InstallerVersion::build));
}

int CCommandLine::usageError(const QString& text) const
{
    QTextStream(stderr) << "pkgupdate-pack " << m_subcommand << ": " << text << "\nSee: pkgupdate-pack " << m_subcommand
                        << " --help\n";
    return PackCommands::ExitUsage;
}

QString CCommandLine::helpText() const
{
    QString text;
    QTextStream out(&text);
    out << "Usage: pkgupdate-pack " << m_subcommand << ' ' << m_help.synopsis << "\n\n"
        << m_help.about << "\n\nOptions:\n";
    for (const Option& option : m_options) {
        QString names = QStringLiteral("--") + QLatin1String(option.name);
        if (names == QLatin1String("--help"))
            names.prepend(QStringLiteral("-h, "));
        if (option.valueName)
            names += QLatin1Char(' ') + QLatin1String(option.valueName);
        // Continuation lines of an option's text line up under its first line.
        const QString text = QString(option.text).replace(QLatin1Char('\n'), QStringLiteral("\n%1").arg(QString(), 25));
        out << "  " << names.leftJustified(22) << ' ' << text << '\n';
    }
    out << '\n' << m_help.epilogue;
    return text;
}
