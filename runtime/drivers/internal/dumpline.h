// One line of labelled values for the debug channel, the same whichever Qt builds it.
#ifndef DRIVERS_INTERNAL_DUMPLINE_H
#define DRIVERS_INTERNAL_DUMPLINE_H

#include <QDebug>
#include <QString>

/// Collects items, each followed by one blank, and hands them over as a single debug message. The
/// debug stream of Qt 5 would drop the last blank and escape what is between quotes, so the
/// line is put together here.
class DumpLine
{
public:
    DumpLine& number(const char* label, qint64 value)
    {
        return item(label, QString::number(value));
    }

    DumpLine& text(const char* label, const QString& value)
    {
        return item(label, QLatin1Char('"') + value + QLatin1Char('"'));
    }

    void print() const { qDebug("%s", m_line.toUtf8().constData()); }

private:
    DumpLine& item(const char* label, const QString& value)
    {
        m_line += QLatin1String(label) + QLatin1Char(' ') + value + QLatin1Char(' ');
        return *this;
    }

    QString m_line;
};

#endif
