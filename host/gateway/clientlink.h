#ifndef CLIENTLINK_H
#define CLIENTLINK_H

#include <QJsonValue>
#include <QString>

/// What a request's `linkGuid` becomes on its way through the desk, so that the answer finds its client: the client's
/// number and the value that the client gave, in one text. The text knows all there is to know, so nothing has to be
/// remembered of a request that may never be answered.
struct ClientLink
{
    /// Number of the client, from 1; never given twice while the host runs.
    qint64 client = 0;
    /// The client's own `linkGuid`: any value, undefined when it gave none.
    QJsonValue original = QJsonValue(QJsonValue::Undefined);

    /// Letters, digits, `-` and `_` only: the text also goes to the online service and back, as a field of a form.
    QString toText() const;
    /// False when the value is no such text, as for an answer to somebody who did not come in by the gateway.
    static bool fromValue(const QJsonValue &linkGuid, ClientLink *link);
};

#endif // CLIENTLINK_H
