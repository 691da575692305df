#include "desktest.h"
#include "plugin/ticketpluginform.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>

/// Printing while the form has no link to a host.
class TestPaperWithoutHost : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void templateTicket();
    void safetyForm();
};

namespace {

// Any dialog at all is one too many.
bool anyDialogWithin(int milliseconds)
{
    return QTest::qWaitFor([] { return QApplication::activeModalWidget() != nullptr; }, milliseconds);
}

int threads()
{
    return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
}

} // namespace

// A ticket for the host's template is not drawn instead: that would ask for a printer, and complain.
void TestPaperWithoutHost::templateTicket()
{
    const TempTrack track;
    TicketPluginForm form;
    form.ticketPrinted({{QStringLiteral("ticketSrc"), QStringLiteral("runQueue")},
                        {QStringLiteral("runCount"), 2},
                        {QStringLiteral("pinCodes"), QJsonArray{QStringLiteral("0042"), QStringLiteral("0042")}}});
    form.printRunTicket({{QStringLiteral("name"), QStringLiteral("Иванов")}}, QStringLiteral("Заезд №1"));
    QVERIFY(!anyDialogWithin(200));
}

void TestPaperWithoutHost::safetyForm()
{
    const TempTrack track;
    TicketPluginForm form;
    const int before = threads();
    for (int i = 0; i < 5; ++i)
        form.printSafety(QModelIndex());
    QVERIFY(!anyDialogWithin(200));
    QTRY_COMPARE(threads(), before);
}

DESK_TEST_MAIN(TestPaperWithoutHost)

#include "tst_paperwithouthost.moc"
