#ifndef CHECKINITEM_H
#define CHECKINITEM_H

#include <QByteArray>
#include <QColor>
#include <QHash>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

/// What the record of a line tells, apart from the family and the price book.
struct CheckInFacts
{
    QString firstName;
    QString lastName;
    QString midName;
    /// Name of the price item sold; empty while nothing is sold.
    QString salesItem;
    qint32 salesId = -1;
    /// Model of car that the sale is for; empty for any.
    QString carModel;
    QString carNum;
    /// The car given to the racer; -1 for none.
    qint32 carId = -1;
    /// What the family has to pay; means something at the top level only.
    double paySum = 0.0;
    /// Price of one run.
    double price = 0.0;
    /// Runs bought.
    qint32 runCount = 0;
    /// A percentage as text, or `=` and an amount per run.
    QString discountValue = QStringLiteral("0");
    QColor color = Qt::white;
    /// One entry for each run, all equal.
    QStringList pinCodes;
    QString payMethod;
    bool payState = false;
    /// Identity, with braces.
    QString uuid;
    /// Seconds since the epoch, UTC, at which a line nobody attends to began to age; 0 means that it never expires.
    quint64 regTime = 0;
    /// Client at the online service; -1 for none.
    qint32 clientId = -1;
    QString nfcUid;
    QString comment;
    bool validSafetyAgreement = false;

    /// True if all of it is the same, to the last bit of the sums.
    bool operator==(const CheckInFacts &other) const;
};

/// One line of the check-in list: a racer at the top level, or a minor that a racer brought. Owned by its parent's
/// `subItems`, or by the list.
struct CheckInItem : CheckInFacts
{
    /// What the list has built of a line, and of what. Good as long as that is still the same.
    struct Built
    {
        /// Higher than that of anything built before; 0 if nothing is built yet.
        quint64 revision = 0;
        CheckInFacts facts{};
        QStringList parent{};
        qint32 salesCommonId = -1;
        int priceType = -1;
        QJsonObject record{};

        /// Of a racer with the minors: the highest revision among them, and their number.
        quint64 familyRevision = 0;
        size_t familySize = 0;
        QJsonObject published{};
        QByteArray journalLine{};
    };

    std::vector<std::unique_ptr<CheckInItem>> subItems;
    /// Position under the parent, as of the last look at it.
    mutable qint32 row = -1;
    /// The racer who brought this minor; null at the top level. Not owned.
    CheckInItem *parent = nullptr;
    /// Press state of the drawn buttons, by column key.
    QHash<QString, int> buttonStates;
    /// Already seated in a run.
    bool enqueued = false;
    QString parentUuid;
    QString parentFirstName;
    QString parentLastName;
    QString parentMidName;
    mutable Built built;

    /// The racer of the family: the parent, or the line itself.
    CheckInItem &base();
    const CheckInItem &base() const;

    /// Paid, as the whole family is: a minor has no payment of its own.
    bool isEffectivelyPaid() const;

    /// "last first middle", with both blanks even where a part is missing.
    QString fullName() const;

    /// The line's record. Lacks what only the price book knows: `salesCommonId` and `priceType`.
    QJsonObject toJson() const;

    /// Reads a record of the journal, without its minors. Never fails: what is missing or of a wrong type takes the
    /// journal's defaults.
    void readJson(const QJsonObject &json);
};

#endif // CHECKINITEM_H
