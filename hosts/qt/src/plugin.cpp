#include "plugin.h"

#include "handler.h"

QImageIOPlugin::Capabilities KowenPlugin::capabilities(QIODevice *,
                                                       const QByteArray &format) const {
    return format == "kjpg" ? CanWrite : Capabilities{};
}

QImageIOHandler *KowenPlugin::create(QIODevice *device, const QByteArray &format) const {
    auto *handler = new ImageHandler;
    handler->setDevice(device);
    handler->setFormat(format);
    return handler;
}
