// What Qt loads: the image format "kjpg", for writing only.
#pragma once

#include <QImageIOPlugin>

class KowenPlugin final : public QImageIOPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "kowen.json")

public:
    /// Writing "kjpg". No reading, and nothing by the names jpg and jpeg: Qt gives the plug-in that
    /// claims a name both directions of it.
    Capabilities capabilities(QIODevice *device, const QByteArray &format) const override;

    /// A handler for the format on the device. Owned by the caller.
    QImageIOHandler *create(QIODevice *device, const QByteArray &format) const override;
};
