#ifndef CLIENTPHOTO_H
#define CLIENTPHOTO_H

#include <QImage>
#include <QString>

/// The photo of a demo client: a drawn head whose colours tell the clients apart.
class ClientPhoto
{
public:
    static QImage draw(int clientId, bool woman);
    /// The same as a data: URI, which fits into the src of an <img> in a label.
    static QString dataUri(int clientId, bool woman);
};

#endif // CLIENTPHOTO_H
