#include "eventlogview.h"

#include "eventlogfilter.h"
#include "eventlogmodel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QJsonDocument>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSplitter>
#include <QTreeView>
#include <QVBoxLayout>

EventLogView::EventLogView(EventLogModel *log, QWidget *parent)
    : QWidget(parent)
    , m_log(log)
    , m_filter(new EventLogFilter(this))
    , m_search(new QLineEdit(this))
    , m_side(new QComboBox(this))
    , m_follow(new QCheckBox(tr("Следовать за новыми"), this))
    , m_events(new QTreeView)
    , m_payload(new QPlainTextEdit)
{
    setObjectName(QStringLiteral("eventLogView"));

    m_search->setObjectName(QStringLiteral("leEventSearch"));
    m_search->setPlaceholderText(tr("Поиск: слова через пробел, «-слово» исключает"));
    m_search->setClearButtonEnabled(true);
    m_side->setObjectName(QStringLiteral("cbEventSide"));
    m_side->addItem(tr("Все события"), EventLogFilter::Both);
    m_side->addItem(tr("Кассе"), EventLogModel::ToDesk);
    m_side->addItem(tr("От кассы"), EventLogModel::FromDesk);
    m_follow->setObjectName(QStringLiteral("cbEventFollow"));
    m_follow->setChecked(true);
    auto *clear = new QPushButton(tr("Очистить"), this);
    clear->setObjectName(QStringLiteral("pbEventClear"));

    m_filter->setSourceModel(m_log);
    m_events->setObjectName(QStringLiteral("tvEvents"));
    m_events->setModel(m_filter);
    m_events->setRootIsDecorated(false);
    m_events->setUniformRowHeights(true);
    m_events->setAlternatingRowColors(true);
    const auto makeRoom = [this](EventLogModel::Column column, const QString &text) {
        m_events->header()->resizeSection(column, m_events->fontMetrics().horizontalAdvance(text) + 24);
    };
    makeRoom(EventLogModel::TimeColumn, QStringLiteral("00:00:00.000"));
    makeRoom(EventLogModel::DirectionColumn, tr("← от кассы"));
    makeRoom(EventLogModel::EventColumn, QStringLiteral("query_racer_from_database"));

    m_payload->setObjectName(QStringLiteral("teEventPayload"));
    m_payload->setReadOnly(true);
    m_payload->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));

    auto *bar = new QHBoxLayout;
    bar->addWidget(m_search, 1);
    bar->addWidget(m_side);
    bar->addWidget(m_follow);
    bar->addWidget(clear);
    auto *splitter = new QSplitter(Qt::Vertical, this);
    splitter->addWidget(m_events);
    splitter->addWidget(m_payload);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 2);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(bar);
    layout->addWidget(splitter, 1);

    connect(m_search, &QLineEdit::textChanged, m_filter, &EventLogFilter::setWords);
    connect(m_side, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [this] { m_filter->setSide(m_side->currentData().toInt()); });
    connect(clear, &QPushButton::clicked, m_log, &EventLogModel::clear);
    connect(m_events->selectionModel(), &QItemSelectionModel::currentChanged, this, &EventLogView::showCurrentPayload);
    connect(m_filter, &QAbstractItemModel::modelReset, this, &EventLogView::showCurrentPayload);
    // Queued, so that a burst of events scrolls once it is over and never while a row is being inserted.
    connect(m_filter, &QAbstractItemModel::rowsInserted, this, &EventLogView::followNewest, Qt::QueuedConnection);
}

void EventLogView::showCurrentPayload()
{
    const QModelIndex index = m_filter->mapToSource(m_events->currentIndex());
    if (!index.isValid()) {
        m_payload->clear();
        return;
    }
    const QJsonObject payload = m_log->entry(index.row()).payload;
    m_payload->setPlainText(QString::fromUtf8(QJsonDocument(payload).toJson(QJsonDocument::Indented)));
}

void EventLogView::followNewest()
{
    if (m_follow->isChecked())
        m_events->scrollToBottom();
}
