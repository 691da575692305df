#ifndef DBRACER_H
#define DBRACER_H

#include <QJsonObject>
#include <QString>

/// One client that the online service found.
struct DbRacer
{
    /// The service's number of the client; -1 is nobody.
    qint32 id = -1;
    QString firstName;
    QString lastName;
    QString midName;
    /// The line shown to the cashier.
    QString name;
    QJsonObject additionalData;
    /// Everything that the service sent, with `clientId` added.
    QJsonObject record;
};

#endif // DBRACER_H
