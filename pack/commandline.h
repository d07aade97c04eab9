#pragma once

#include <QCommandLineParser>
#include <QList>
#include <QString>
#include <QStringList>

// The command line of one subcommand: its options, parsed with QCommandLineParser,
// and its help text, written for a device maker who has never seen the project.
// The option lines of the help are made from the same table as the parser's options.
class CCommandLine {
public:
    struct Option {
        const char* name; // long name, without the dashes
        const char* valueName; // e.g. "DIR"; nullptr for a switch
        QString text; // help lines of at most 55 columns, with the default
    };
    struct Help {
        QString synopsis; // after "pkgupdate-pack SUBCOMMAND "
        QString about; // what the subcommand does
        QString epilogue; // examples and exit statuses
    };

    CCommandLine(const QString& subcommand, const Help& help, const QList<Option>& options);

    // Parses arguments (the subcommand's name first). Returns -1 to go on, or the exit
    // status after printing the help (for --help) or a usage error.
    [[nodiscard]] int parse(const QStringList& arguments);
    // Prints "pkgupdate-pack SUBCOMMAND: text" and a pointer to --help; returns the usage status.
    [[nodiscard]] int usageError(const QString& text) const;
    [[nodiscard]] QString helpText() const;
    // "pkgupdate-pack <version> (installer build <number>)" and a newline.
    [[nodiscard]] static QString versionLine();

    [[nodiscard]] bool isSet(const char* name) const { return m_parser.isSet(QLatin1String(name)); }
    [[nodiscard]] QString value(const char* name) const { return m_parser.value(QLatin1String(name)); }
    [[nodiscard]] QStringList values(const char* name) const { return m_parser.values(QLatin1String(name)); }
    [[nodiscard]] QStringList positional() const { return m_parser.positionalArguments(); }

private:
    QString m_subcommand;
    Help m_help;
    QList<Option> m_options;
    QCommandLineParser m_parser;
};
