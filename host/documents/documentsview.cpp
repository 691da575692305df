#include "documents/documentsview.h"

#include "documents/documentpages.h"
#include "documents/documentprinter.h"

#include <QLabel>
#include <QListWidget>
#include <QScrollArea>
#include <QSplitter>
#include <QTime>
#include <QVBoxLayout>

namespace {

constexpr int previewDpi = 96;
// At first; the rest of the tab is for the page.
constexpr int listWidth = 340;
// Which of the printer's documents an item stands for; a note has none.
constexpr int DocumentRole = Qt::UserRole;

} // namespace

DocumentsView::DocumentsView(const DocumentPrinter *printer, QWidget *parent)
    : QWidget(parent)
    , m_printer(printer)
    , m_list(new QListWidget)
    , m_name(new QLabel(this))
    , m_page(new QLabel)
{
    setObjectName(QStringLiteral("documentsView"));
    m_list->setObjectName(QStringLiteral("lwDocuments"));
    m_list->setWordWrap(true);
    m_name->setObjectName(QStringLiteral("lDocumentName"));
    m_name->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_page->setObjectName(QStringLiteral("lDocumentPage"));
    m_page->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    m_page->setMargin(12);

    auto *scroll = new QScrollArea;
    scroll->setBackgroundRole(QPalette::Dark);
    scroll->setWidgetResizable(true);
    scroll->setWidget(m_page);
    auto *right = new QWidget;
    auto *rightLayout = new QVBoxLayout(right);
    rightLayout->setContentsMargins(0, 0, 0, 0);
    rightLayout->addWidget(m_name);
    rightLayout->addWidget(scroll, 1);
    auto *splitter = new QSplitter(this);
    splitter->addWidget(m_list);
    splitter->addWidget(right);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({listWidth, 2 * listWidth});
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(splitter);

    connect(m_printer, &DocumentPrinter::printed, this, &DocumentsView::addDocument);
    connect(m_printer, &DocumentPrinter::noted, this, &DocumentsView::addNote);
    connect(m_list, &QListWidget::currentRowChanged, this, &DocumentsView::showCurrent);
}

void DocumentsView::addDocument()
{
    const PrintedDocument &document = m_printer->documents().constLast();
    auto *item =
        new QListWidgetItem(QStringLiteral("%1  %2").arg(QTime::currentTime().toString(QStringLiteral("HH:mm:ss")),
                                                         document.targets.join(QStringLiteral(", "))));
    item->setData(DocumentRole, m_printer->documents().size() - 1);
    m_list->addItem(item);
    m_list->setCurrentItem(item);
}

void DocumentsView::addNote(const QString &sentence)
{
    auto *item = new QListWidgetItem(
        QStringLiteral("%1  %2").arg(QTime::currentTime().toString(QStringLiteral("HH:mm:ss")), sentence));
    m_list->addItem(item);
    m_list->scrollToItem(item);
}

void DocumentsView::showCurrent()
{
    const QListWidgetItem *item = m_list->currentItem();
    const QVariant number = item ? item->data(DocumentRole) : QVariant();
    if (!number.isValid()) {
        m_name->clear();
        m_page->clear();
        return;
    }
    const PrintedDocument &document = m_printer->documents().at(number.toInt());
    m_name->setText(document.targets.join(QStringLiteral(", ")));
    DocumentPages pages(document.templateName, document.html, document.pinCode);
    m_page->setPixmap(QPixmap::fromImage(pages.image(previewDpi)));
}
