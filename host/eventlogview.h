#ifndef EVENTLOGVIEW_H
#define EVENTLOGVIEW_H

#include <QWidget>

class EventLogFilter;
class EventLogModel;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QPlainTextEdit;
class QTreeView;

/// The tab with the live event log: a search above, the events in the middle, the chosen one's JSON below.
class EventLogView : public QWidget
{
    Q_OBJECT

public:
    explicit EventLogView(EventLogModel *log, QWidget *parent = nullptr);

private:
    void showCurrentPayload();
    void followNewest();

    EventLogModel *m_log;
    EventLogFilter *m_filter;
    QLineEdit *m_search;
    QComboBox *m_side;
    QCheckBox *m_follow;
    QTreeView *m_events;
    QPlainTextEdit *m_payload;
};

#endif // EVENTLOGVIEW_H
