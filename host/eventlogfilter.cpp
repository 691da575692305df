#include "eventlogfilter.h"

#include "eventlogmodel.h"

#include <algorithm>

EventLogFilter::EventLogFilter(QObject *parent)
    : QSortFilterProxyModel(parent)
{
}

void EventLogFilter::setWords(const QString &text)
{
    m_wanted.clear();
    m_unwanted.clear();
    const QStringList words = text.split(QLatin1Char(' '));
    for (const QString &word : words) {
        if (word.size() > 1 && word.startsWith(QLatin1Char('-')))
            m_unwanted.append(word.mid(1));
        else if (!word.isEmpty() && word != QLatin1String("-"))
            m_wanted.append(word);
    }
    invalidateFilter();
}

void EventLogFilter::setSide(int side)
{
    m_side = side;
    invalidateFilter();
}

bool EventLogFilter::filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const
{
    const QModelIndex index = sourceModel()->index(sourceRow, EventLogModel::EventColumn, sourceParent);
    if (m_side != Both && index.data(EventLogModel::DirectionRole).toInt() != m_side)
        return false;
    if (m_wanted.isEmpty() && m_unwanted.isEmpty())
        return true;

    const QString text = index.data(EventLogModel::SearchRole).toString();
    const auto occurs = [&text](const QString &word) { return text.contains(word, Qt::CaseInsensitive); };
    return std::all_of(m_wanted.cbegin(), m_wanted.cend(), occurs)
           && std::none_of(m_unwanted.cbegin(), m_unwanted.cend(), occurs);
}
