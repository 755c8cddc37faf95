// A Qt plug-in of another family. It leaves a mark if any of its code runs.
#include <QObject>
#include <QtPlugin>

static const bool ran = qputenv("STRANGER_RAN", "yes");

class Stranger : public QObject
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.example.Stranger/1.0")
};

#include "stranger.moc"
