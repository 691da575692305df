#include "checkincounter.h"
#include "desktest.h"
#include "jsonmatch.h"
#include "modal.h"

#include <QDate>
#include <QDialog>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QStandardItemModel>
#include <QThread>

#include <atomic>

/// Safety agreements: the desk fills in the fields, and a thread of a moment hands the job to the host.
class TestSafety : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void clickPrints();
    void clientIsTold_data();
    void clientIsTold();
    void lineIsAttendedTo();
    void jobComesLater();
    void names_data();
    void names();
    void kids_data();
    void kids();
    void clickOnAMinor();
    void blankForm();
    void indexOfAnotherModel();
    void lineGoesRightAfterwards();
    void newRacerPrints();
    void newRacerDoesNotPrint();
    void editedRacerPrints();
    void editedMinorPrintsTheFamily();
    void requestPrints();
    void requestOfNobody();
    void printedInARow();
    void nothingIsLeft();
    void deskGoesRightAfterwards_data();
    void deskGoesRightAfterwards();

private:
    HostProbe &desk() { return m_counter->desk(); }
    bool openDesk(const QList<QJsonObject> &lines = {});
    void print(const QModelIndex &index);

    std::unique_ptr<Counter> m_counter;
};

// Qt's own door for tools that watch objects come and go: the third slot is called for every new object, the fourth for
// every one that goes.
extern Q_CORE_EXPORT quintptr qtHookData[];

namespace {

using JsonMatch::object;

const QString PrintResults = QStringLiteral("print_results");
const QString UpdateClient = QStringLiteral("update_local_client");
const QString Answer = QStringLiteral("local_request_answer");
const QString FormTitle = text("Запись на заезд");
const QString NoKids = QStringLiteral("&nbsp;&nbsp;&nbsp;");

QJsonObject job(const QString &mainName, const QString &kidsList = NoKids)
{
    return {{QStringLiteral("templateName"), QStringLiteral("safety")},
            {QStringLiteral("printCount"), 1},
            {QStringLiteral("preview"), false},
            {QStringLiteral("sortType"), 0},
            {QStringLiteral("printParams"),
             QJsonObject{{QStringLiteral("MAINNAME"), mainName},
                         {QStringLiteral("KIDSLIST"), kidsList},
                         {QStringLiteral("CURRENTDATE"),
                          QDate::currentDate().toString(QStringLiteral("dd.MM.yyyy"))}}}};
}

QJsonObject person(const QString &uuid, const char *lastName, const char *firstName, const char *midName,
                   const QJsonArray &kids = {})
{
    return Counter::ticket(uuid, {{QStringLiteral("lastName"), text(lastName)},
                                  {QStringLiteral("firstName"), text(firstName)},
                                  {QStringLiteral("midName"), text(midName)},
                                  {QStringLiteral("kidsList"), kids}});
}

QJsonObject with(QJsonObject json, const QString &key, const QJsonValue &value)
{
    json.insert(key, value);
    return json;
}

QJsonObject printRequest(const QStringList &uuids)
{
    return {{QStringLiteral("request"), QStringLiteral("print_safety")},
            {QStringLiteral("linkGuid"), QStringLiteral("{link}")},
            {QStringLiteral("requestData"),
             QJsonObject{{QStringLiteral("uuidList"), QJsonArray::fromStringList(uuids)}}}};
}

void fill(QDialog *dialog, const char *edit, const QString &text)
{
    dialog->findChild<QLineEdit *>(QString::fromLatin1(edit))->setText(text);
}

void pressPrint(QDialog *dialog)
{
    dialog->findChild<QPushButton *>(QStringLiteral("pushButton"))->click();
}

int threads()
{
    return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
}

/// Counts the objects of the process as long as it lives.
class ObjectCount
{
public:
    ObjectCount()
    {
        balance = 0;
        qtHookData[3] = reinterpret_cast<quintptr>(&ObjectCount::comes);
        qtHookData[4] = reinterpret_cast<quintptr>(&ObjectCount::goes);
    }
    ~ObjectCount() { qtHookData[3] = qtHookData[4] = 0; }
    Q_DISABLE_COPY(ObjectCount)

    /// Objects that came and did not go.
    static int left() { return balance; }
    static int seen() { return arrivals; }

private:
    static void comes(QObject *)
    {
        ++balance;
        ++arrivals;
    }
    static void goes(QObject *) { --balance; }

    static std::atomic<int> balance;
    static std::atomic<int> arrivals;
};

std::atomic<int> ObjectCount::balance{0};
std::atomic<int> ObjectCount::arrivals{0};

} // namespace

void TestSafety::init()
{
    m_counter = std::make_unique<Counter>();
}

void TestSafety::cleanup()
{
    m_counter.reset();
}

bool TestSafety::openDesk(const QList<QJsonObject> &lines)
{
    m_counter->seed(lines);
    return m_counter->open();
}

void TestSafety::print(const QModelIndex &index)
{
    if (!QMetaObject::invokeMethod(desk().tab(), "printSafety", Q_ARG(QModelIndex, index)))
        qFatal("the form has no slot printSafety");
}

void TestSafety::clickPrints()
{
    QVERIFY(openDesk({person(QStringLiteral("{a}"), "Иванов", "Пётр", "Кузьмич")}));
    m_counter->click(m_counter->at(0, Counter::Safety));
    QVERIFY(desk().waitFor(PrintResults));
    HostProbe::settle(100);
    QCOMPARE(desk().names(), QStringList{PrintResults});
    const HostEvent event = desk().events().first();
    QCOMPARE(event.module, QStringLiteral("print_preprocessor"));
    QCOMPARE(event.thread, QThread::currentThread());
    JSON_COMPARE(event.data, job(text("Иванов Пётр Кузьмич")));
}

void TestSafety::clientIsTold_data()
{
    QTest::addColumn<int>("clientId");
    QTest::addColumn<bool>("told");
    QTest::newRow("client") << 17 << true;
    QTest::newRow("none") << -1 << false;
    QTest::newRow("zero") << 0 << true;
    QTest::newRow("other negative") << -2 << true;
}

// The client's record is brought up to date before the form prints.
void TestSafety::clientIsTold()
{
    QFETCH(int, clientId);
    QFETCH(bool, told);
    QVERIFY(openDesk(
        {with(person(QStringLiteral("{a}"), "Иванов", "Пётр", "Кузьмич"), QStringLiteral("clientId"), clientId)}));
    m_counter->click(m_counter->at(0, Counter::Safety));
    QVERIFY(desk().waitFor(PrintResults));
    HostProbe::settle(100);
    if (!told) {
        QCOMPARE(desk().names(), QStringList{PrintResults});
        return;
    }
    QCOMPARE(desk().names(), (QStringList{UpdateClient, PrintResults}));
    QCOMPARE(desk().events().first().module, QStringLiteral("ticket_plugin"));
    JSON_COMPARE(desk().last(UpdateClient),
                 (QJsonObject{{QStringLiteral("clientId"), clientId},
                              {QStringLiteral("action"), QStringLiteral("updateSafetyAgreementDate")}}));
}

void TestSafety::lineIsAttendedTo()
{
    const double late = 4102444800.0;
    QVERIFY(openDesk({with(person(QStringLiteral("{a}"), "Иванов", "", ""), QStringLiteral("regTime"), late),
                      with(person(QStringLiteral("{b}"), "Петров", "", ""), QStringLiteral("regTime"), late)}));
    m_counter->click(m_counter->at(1, Counter::Safety));
    QVERIFY(desk().waitFor(PrintResults));
    const QList<QJsonObject> lines = m_counter->lines();
    QCOMPARE(lines.at(0).value(QLatin1String("regTime")).toDouble(), late);
    QCOMPARE(lines.at(1).value(QLatin1String("regTime")).toDouble(), 0.0);
}

// The client is told at once; the job takes the road over its thread and arrives with the event loop.
void TestSafety::jobComesLater()
{
    QVERIFY(
        openDesk({with(person(QStringLiteral("{a}"), "Иванов", "Пётр", "Кузьмич"), QStringLiteral("clientId"), 5)}));
    print(m_counter->at(0, Counter::Safety));
    QThread::msleep(200);
    QCOMPARE(desk().names(), QStringList{UpdateClient});
    QVERIFY(desk().waitFor(PrintResults));
    QCOMPARE(desk().events().last().thread, QThread::currentThread());
    QCOMPARE(desk().events().first().thread, QThread::currentThread());
}

void TestSafety::names_data()
{
    QTest::addColumn<QString>("lastName");
    QTest::addColumn<QString>("firstName");
    QTest::addColumn<QString>("midName");
    QTest::addColumn<QString>("mainName");
    QTest::newRow("whole") << text("Иванов") << text("Пётр") << text("Кузьмич") << text("Иванов Пётр Кузьмич");
    QTest::newRow("no middle name") << text("Иванов") << text("Пётр") << QString() << text("Иванов Пётр ");
    QTest::newRow("first name only") << QString() << text("Пётр") << QString() << text(" Пётр ");
    QTest::newRow("nothing") << QString() << QString() << QString() << QStringLiteral("  ");
    // A name is a name, even one that looks like a place for the next.
    QTest::newRow("placeholders") << QStringLiteral("%2") << QStringLiteral("%3") << QStringLiteral("%1")
                                  << QStringLiteral("%2 %3 %1");
    QTest::newRow("two words") << text("Де  Ла Крус") << text("Анна Мария") << text("<b>")
                               << text("Де  Ла Крус Анна Мария <b>");
}

void TestSafety::names()
{
    QFETCH(QString, lastName);
    QFETCH(QString, firstName);
    QFETCH(QString, midName);
    QFETCH(QString, mainName);
    QVERIFY(openDesk({Counter::ticket(QStringLiteral("{a}"), {{QStringLiteral("lastName"), lastName},
                                                              {QStringLiteral("firstName"), firstName},
                                                              {QStringLiteral("midName"), midName}})}));
    print(m_counter->at(0, Counter::Pos));
    QVERIFY(desk().waitFor(PrintResults));
    JSON_COMPARE(desk().last(PrintResults), job(mainName));
}

void TestSafety::kids_data()
{
    QTest::addColumn<QJsonArray>("kids");
    QTest::addColumn<QString>("list");
    const QJsonObject anna = person(QStringLiteral("{k1}"), "Яковлева", "Анна", "Петровна");
    const QJsonObject boris = person(QStringLiteral("{k2}"), "Авдеев", "Борис", "Ильич");
    const QJsonObject short1 = person(QStringLiteral("{k3}"), "Белов", "Глеб", "");
    QTest::newRow("none") << QJsonArray() << NoKids;
    QTest::newRow("one") << QJsonArray{anna} << text("Яковлева Анна Петровна");
    QTest::newRow("two") << QJsonArray{anna, boris} << text("Яковлева Анна Петровна, Авдеев Борис Ильич");
    QTest::newRow("other way round") << QJsonArray{boris, anna} << text("Авдеев Борис Ильич, Яковлева Анна Петровна");
    QTest::newRow("without a middle name") << QJsonArray{short1, anna} << text("Белов Глеб , Яковлева Анна Петровна");
}

void TestSafety::kids()
{
    QFETCH(QJsonArray, kids);
    QFETCH(QString, list);
    QVERIFY(openDesk({person(QStringLiteral("{a}"), "Иванов", "Пётр", "Кузьмич", kids)}));
    m_counter->click(m_counter->at(0, Counter::Safety));
    QVERIFY(desk().waitFor(PrintResults));
    JSON_COMPARE(desk().last(PrintResults), job(text("Иванов Пётр Кузьмич"), list));
}

// There is no button on a minor's row, but the click counts: the form is the minor's own then.
void TestSafety::clickOnAMinor()
{
    QJsonObject kid = person(QStringLiteral("{k}"), "Иванова", "Анна", "Петровна");
    kid.insert(QStringLiteral("clientId"), 31);
    kid.insert(QStringLiteral("regTime"), 4102444800.0);
    QJsonObject parent = person(QStringLiteral("{a}"), "Иванов", "Пётр", "Кузьмич", {kid});
    parent.insert(QStringLiteral("clientId"), 30);
    parent.insert(QStringLiteral("regTime"), 4102444800.0);
    QVERIFY(openDesk({parent}));
    m_counter->tree()->expandAll();
    m_counter->click(m_counter->kidAt(0, 0, Counter::Safety));
    QVERIFY(desk().waitFor(PrintResults));
    JSON_COMPARE(desk().last(PrintResults), job(text("Иванова Анна Петровна")));
    QCOMPARE(desk().count(UpdateClient), 1);
    QCOMPARE(desk().last(UpdateClient).value(QLatin1String("clientId")).toInt(), 31);
    const QJsonObject line = m_counter->line(0);
    QCOMPARE(line.value(QLatin1String("regTime")).toDouble(), 4102444800.0);
    QCOMPARE(line.value(QLatin1String("kidsList")).toArray().first()[QLatin1String("regTime")].toDouble(), 0.0);
}

void TestSafety::blankForm()
{
    QVERIFY(
        openDesk({with(person(QStringLiteral("{a}"), "Иванов", "Пётр", "Кузьмич"), QStringLiteral("clientId"), 5)}));
    print(QModelIndex());
    QVERIFY(desk().waitFor(PrintResults));
    HostProbe::settle(100);
    QCOMPARE(desk().names(), QStringList{PrintResults});
    QCOMPARE(desk().events().first().module, QStringLiteral("print_preprocessor"));
    JSON_COMPARE(desk().last(PrintResults), job(QString()));
}

// A place that is no line of the list, though it is one of some other: nothing to print, and nobody to tell.
void TestSafety::indexOfAnotherModel()
{
    QVERIFY(
        openDesk({with(person(QStringLiteral("{a}"), "Иванов", "Пётр", "Кузьмич"), QStringLiteral("clientId"), 5)}));
    QStandardItemModel other;
    other.appendRow({new QStandardItem(text("Чужой")), new QStandardItem});
    other.item(0)->appendRow(new QStandardItem(text("Чужой")));
    const int before = threads();
    print(other.index(0, 0));
    print(other.index(0, 1));
    print(other.index(0, 0, other.index(0, 0)));
    HostProbe::settle(100);
    QCOMPARE(desk().names(), QStringList());
    QCOMPARE(threads(), before);
    print(m_counter->at(0, Counter::Safety));
    QVERIFY(desk().waitFor(PrintResults));
    QCOMPARE(desk().names(), (QStringList{UpdateClient, PrintResults}));
}

// What goes to the printer is what stood in the line when the cashier clicked.
void TestSafety::lineGoesRightAfterwards()
{
    QVERIFY(openDesk({person(QStringLiteral("{a}"), "Иванов", "Пётр", "Кузьмич")}));
    print(m_counter->at(0, Counter::Safety));
    desk().send(QStringLiteral("local_request"),
                object(R"({"request": "remove_checkin_items", "requestData": {"removeList": ["{a}"]}})"));
    QCOMPARE(m_counter->model()->rowCount(), 0);
    QVERIFY(desk().waitFor(PrintResults));
    JSON_COMPARE(desk().last(PrintResults), job(text("Иванов Пётр Кузьмич")));
}

void TestSafety::newRacerPrints()
{
    QVERIFY(openDesk());
    const ModalAnswer answer = ModalAnswer::dialog(FormTitle, [](QDialog *dialog) {
        fill(dialog, "leLastName", text("иванов"));
        fill(dialog, "leFirstName", text("ПЁТР"));
        pressPrint(dialog);
    });
    m_counter->push("bAddRacer");
    MODAL_VERIFY(answer);
    QVERIFY(desk().waitFor(PrintResults));
    HostProbe::settle(100);
    QCOMPARE(desk().names(), (QStringList{Answer, PrintResults}));
    JSON_COMPARE(desk().last(PrintResults), job(text("Иванов Пётр ")));
    QCOMPARE(desk().events().last().module, QStringLiteral("print_preprocessor"));
    QCOMPARE(desk().events().last().thread, QThread::currentThread());
}

void TestSafety::newRacerDoesNotPrint()
{
    QVERIFY(openDesk());
    const ModalAnswer answer = ModalAnswer::dialog(FormTitle, [](QDialog *dialog) { dialog->accept(); });
    m_counter->push("bAddRacer");
    MODAL_VERIFY(answer);
    HostProbe::settle(200);
    QCOMPARE(desk().names(), QStringList{Answer});
}

void TestSafety::editedRacerPrints()
{
    const QJsonArray kids{person(QStringLiteral("{k1}"), "Иванова", "Анна", "Петровна"),
                          person(QStringLiteral("{k2}"), "Иванова", "Вера", "Петровна")};
    QVERIFY(openDesk(
        {with(person(QStringLiteral("{a}"), "Иванов", "Пётр", "Кузьмич", kids), QStringLiteral("clientId"), 8)}));
    const ModalAnswer answer = ModalAnswer::dialog(FormTitle, [](QDialog *dialog) {
        fill(dialog, "leFirstName", text("Павел"));
        pressPrint(dialog);
    });
    m_counter->doubleClick(m_counter->at(0, Counter::Name));
    MODAL_VERIFY(answer);
    QVERIFY(desk().waitFor(PrintResults));
    HostProbe::settle(100);
    // The client first, then the new list; the job arrives with the event loop.
    QCOMPARE(desk().names(), (QStringList{UpdateClient, Answer, PrintResults}));
    JSON_COMPARE(desk().last(PrintResults),
                 job(text("Иванов Павел Кузьмич"), text("Иванова Анна Петровна, Иванова Вера Петровна")));
}

void TestSafety::editedMinorPrintsTheFamily()
{
    QVERIFY(openDesk({person(QStringLiteral("{a}"), "Иванов", "Пётр", "Кузьмич",
                             {person(QStringLiteral("{k}"), "Иванова", "Анна", "Петровна")})}));
    m_counter->tree()->expandAll();
    const ModalAnswer answer = ModalAnswer::dialog(FormTitle, pressPrint);
    m_counter->doubleClick(m_counter->kidAt(0, 0, Counter::Name));
    MODAL_VERIFY(answer);
    QVERIFY(desk().waitFor(PrintResults));
    HostProbe::settle(100);
    QCOMPARE(desk().count(PrintResults), 1);
    JSON_COMPARE(desk().last(PrintResults), job(text("Иванов Пётр Кузьмич"), text("Иванова Анна Петровна")));
}

void TestSafety::requestPrints()
{
    const QJsonObject kid =
        with(person(QStringLiteral("{k}"), "Иванова", "Анна", "Петровна"), QStringLiteral("clientId"), 12);
    QVERIFY(openDesk(
        {with(person(QStringLiteral("{a}"), "Иванов", "Пётр", "Кузьмич", {kid}), QStringLiteral("clientId"), 11),
         person(QStringLiteral("{b}"), "Борисов", "Олег", "Ильич"), person(QStringLiteral("{c}"), "Не", "", "")}));
    desk().send(QStringLiteral("local_request"),
                printRequest({QStringLiteral("{k}"), QStringLiteral("{nobody}"), QString(), QStringLiteral("{a}"),
                              QStringLiteral("{b}")}));
    // Answered in one go; nothing is printed yet.
    QCOMPARE(desk().count(Answer), 1);
    JSON_COMPARE(desk().last(Answer), object(R"({"linkGuid": "{link}"})"));
    QCOMPARE(desk().count(PrintResults), 0);
    const QVector<QJsonObject> clients = desk().payloads(UpdateClient);
    QCOMPARE(clients.size(), 2);
    QCOMPARE(clients.at(0).value(QLatin1String("clientId")).toInt(), 12);
    QCOMPARE(clients.at(1).value(QLatin1String("clientId")).toInt(), 11);

    QVERIFY(desk().waitFor(PrintResults, 3));
    HostProbe::settle(100);
    const QVector<QJsonObject> jobs = desk().payloads(PrintResults);
    QCOMPARE(jobs.size(), 3);
    // Each goes its own way, so the order is nobody's promise.
    QVERIFY(jobs.contains(job(text("Иванова Анна Петровна"))));
    QVERIFY(jobs.contains(job(text("Иванов Пётр Кузьмич"), text("Иванова Анна Петровна"))));
    QVERIFY(jobs.contains(job(text("Борисов Олег Ильич"))));
}

void TestSafety::requestOfNobody()
{
    QVERIFY(openDesk({person(QStringLiteral("{a}"), "Иванов", "Пётр", "Кузьмич")}));
    for (const QStringList &uuids : {QStringList(), QStringList{QStringLiteral("{nobody}")}}) {
        desk().clear();
        desk().send(QStringLiteral("local_request"), printRequest(uuids));
        HostProbe::settle(100);
        QCOMPARE(desk().count(PrintResults), 0);
        QCOMPARE(desk().count(Answer), 1);
        JSON_COMPARE(desk().last(Answer), object(R"({"linkGuid": "{link}"})"));
    }
}

void TestSafety::printedInARow()
{
    QList<QJsonObject> lines;
    for (int i = 0; i < 20; ++i)
        lines.append(Counter::ticket(QString::number(i), {{QStringLiteral("lastName"), QString::number(i)}}));
    QVERIFY(openDesk(lines));
    for (int i = 0; i < 20; ++i)
        print(m_counter->at(i, Counter::Safety));
    QVERIFY(desk().waitFor(PrintResults, 20));
    HostProbe::settle(100);
    const QVector<HostEvent> events = desk().events();
    QCOMPARE(events.size(), 20);
    QStringList shown;
    for (const HostEvent &event : events) {
        QCOMPARE(event.thread, QThread::currentThread());
        shown.append(event.data[QLatin1String("printParams")][QLatin1String("MAINNAME")].toString().trimmed());
    }
    QCOMPARE(shown.removeDuplicates(), 0);
}

void TestSafety::nothingIsLeft()
{
    QVERIFY(
        openDesk({with(person(QStringLiteral("{a}"), "Иванов", "Пётр", "Кузьмич"), QStringLiteral("clientId"), 5)}));
    const QPersistentModelIndex line = m_counter->at(0, Counter::Safety);
    // What comes once and stays is here after the first forms.
    for (int i = 0; i < 10; ++i)
        print(line);
    QVERIFY(desk().waitFor(PrintResults, 10));
    HostProbe::settle(300);
    const int before = threads();
    const ObjectCount objects;
    for (int i = 0; i < 1000; ++i) {
        print(line);
        if (i % 50 == 49)
            QVERIFY(desk().waitFor(PrintResults, 10 + i + 1));
    }
    QVERIFY(desk().waitFor(PrintResults, 1010));
    QVERIFY2(ObjectCount::seen() >= 1000, "the count of objects does not work");
    QTRY_VERIFY_WITH_TIMEOUT(threads() <= before, 40000);
    HostProbe::settle(300);
    QCOMPARE(desk().count(PrintResults), 1010);
    QCOMPARE(desk().count(UpdateClient), 1010);
    QTRY_COMPARE(ObjectCount::left(), 0);
}

void TestSafety::deskGoesRightAfterwards_data()
{
    QTest::addColumn<bool>("unmap");
    QTest::addColumn<int>("forms");
    QTest::newRow("one form") << false << 1;
    QTest::newRow("many forms") << false << 30;
    QTest::newRow("one form, library unmapped") << true << 1;
    QTest::newRow("many forms, library unmapped") << true << 30;
}

// The host ends the desk while forms are still on their way: whatever is under way ends before the desk is gone, for
// after that its code may be gone, too.
void TestSafety::deskGoesRightAfterwards()
{
    QFETCH(bool, unmap);
    QFETCH(int, forms);
    m_counter.reset();
    int before = 0;
    for (int round = 0; round < 20; ++round) {
        TempTrack track;
        HostProbe probe(QStringLiteral(LAPVANE_PLUGIN_FILE),
                        unmap ? HostProbe::Unload::Unmap : HostProbe::Unload::KeepMapped);
        QVERIFY2(probe.start(), qPrintable(probe.errorString()));
        for (int i = 0; i < forms; ++i)
            QVERIFY(QMetaObject::invokeMethod(probe.tab(), "printSafety", Q_ARG(QModelIndex, QModelIndex())));
        QElapsedTimer clock;
        clock.start();
        QVERIFY2(probe.unload(), qPrintable(probe.errorString()));
        QVERIFY2(clock.elapsed() < 10000, "the desk waits too long");
        // What it has left in the event queue is delivered now.
        HostProbe::settle(10);
        const QVector<HostEvent> events = probe.events();
        for (const HostEvent &event : events)
            QCOMPARE(event.thread, QThread::currentThread());
        // The first desk of a process wakes helpers of Qt's that stay for a while.
        if (round == 0)
            before = threads();
    }
    QTRY_VERIFY_WITH_TIMEOUT(threads() <= before, 40000);
}

DESK_TEST_MAIN(TestSafety)

#include "tst_safety.moc"
