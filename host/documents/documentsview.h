#ifndef DOCUMENTSVIEW_H
#define DOCUMENTSVIEW_H

#include <QWidget>

class DocumentPrinter;
class QLabel;
class QListWidget;

/// The tab with the printed documents: what was asked for on the left, the chosen document as it lies on the paper on
/// the right. A new document is shown at once.
class DocumentsView : public QWidget
{
    Q_OBJECT

public:
    /// `printer` outlives the view.
    explicit DocumentsView(const DocumentPrinter *printer, QWidget *parent = nullptr);

private:
    void addDocument();
    void addNote(const QString &sentence);
    void showCurrent();

    const DocumentPrinter *m_printer;
    QListWidget *m_list;
    QLabel *m_name;
    QLabel *m_page;
};

#endif // DOCUMENTSVIEW_H
