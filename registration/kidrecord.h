#ifndef KIDRECORD_H
#define KIDRECORD_H

#include <QString>

/// One minor, as the racer form and the client records bring it to the check-in list.
struct KidRecord
{
    QString firstName;
    QString lastName;
    QString midName;
    QString uuid;
    /// Common id of a price item to sell at once; -1 for none.
    qint32 salesCommonId = -1;
    qint32 runCount = 0;
    /// Client at the online service; -1 for none.
    qint32 clientId = -1;
};

#endif // KIDRECORD_H
