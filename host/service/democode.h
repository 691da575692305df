#ifndef DEMOCODE_H
#define DEMOCODE_H

#include <QJsonObject>
#include <QString>

/// The QR codes of the demo clients. A code is the flat object {"data":…,"iv":…}; both texts are opaque to everybody
/// but the service. Each holds "+", "/" and "=", so a code that was encoded wrongly on its way is not understood.
class DemoCode
{
public:
    /// The code on the client's card. The same client always has the same code.
    static QJsonObject make(int clientId);
    /// The client behind a code; -1 when it is none of ours or was damaged.
    static int clientId(const QString &data, const QString &iv);
};

#endif // DEMOCODE_H
