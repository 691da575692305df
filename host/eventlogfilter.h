#ifndef EVENTLOGFILTER_H
#define EVENTLOGFILTER_H

#include <QSortFilterProxyModel>
#include <QStringList>

/// Lets through the events of one direction, or both, that hold every word of a search.
class EventLogFilter : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    enum Side { Both = -1 };

    explicit EventLogFilter(QObject *parent = nullptr);

    /// Words divided by blanks; a word that begins with a minus must not occur.
    void setWords(const QString &text);
    /// An `EventLogModel::Direction`, or Both.
    void setSide(int side);

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const override;

private:
    QStringList m_wanted;
    QStringList m_unwanted;
    int m_side = Both;
};

#endif // EVENTLOGFILTER_H
