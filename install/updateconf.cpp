#include "install/updateconf.h"

#include <QDebug>
#include <QFile>

bool parseUpdateConfLine(const QString& line, QString& key, QString& value)
{
    const QString text = line.trimmed();
    if (text.startsWith(QLatin1Char(';')))
        return false;
    const int equals = text.indexOf(QLatin1Char('='));
    if (equals < 0)
        return false;
    key = text.left(equals).trimmed();
    // Only the text up to a second '=' is the value; packages rely on this cut.
    value = text.mid(equals + 1).section(QLatin1Char('='), 0, 0).trimmed();
    if (value.startsWith(QLatin1Char('"'))) {
        value.remove(QLatin1Char('"'));
        value = value.trimmed();
    }
    return true;
}

QMap<QString, QString> readUpdateConf(const QString& path)
{
    QMap<QString, QString> script;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return script;
    // A script is a few lines; a huge one must not cost the device its memory.
    const QByteArray text = file.read(kMaxUpdateConfBytes);
    if (!file.atEnd())
        qWarning("UPDATE.CONF cut after %d bytes", kMaxUpdateConfBytes);
    QString key;
    QString value;
    for (const QString& line : QString::fromLocal8Bit(text).split(QLatin1Char('\n'))) {
        if (parseUpdateConfLine(line, key, value))
            script.insert(key, value);
    }
    return script;
}
