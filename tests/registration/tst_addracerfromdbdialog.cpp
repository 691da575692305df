#include "registration/addracerfromdbdialog.h"
#include "registration/tables/qeditabletreeview.h"

#include "desktest.h"
#include "jsonmatch.h"
#include "onlineservice.h"

#include <QBuffer>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMetaMethod>
#include <QPushButton>

#include <memory>

/// The dialog in which clients of the online service are searched.
class AddRacerFromDbDialogTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void metaObject();
    void widgets();
    void resultView();
    void keyboardAtOpening();

    void oneSearchPerLetter();
    void lateReplyWins();
    void scannedCode();
    void setTextSearchesNothing();

    void badReply_data();
    void badReply();
    void errorKeepsThePhoto();
    void emptyReplyClearsThePhoto();
    void photo_data();
    void photo();
    void photoKeepsTheSize();
    void photoIsSeenWhole();

    void okWithOneClient();
    void okWithOneClientAndAnotherPhoto();
    void okWithoutChoice();
    void okWithChoice();
    void choiceThatIsGone();
    void returnInTheSearch();
    void escape();
    void doubleClick();
    void doubleClickBesideTheRows();
    void closedBeforeTheReply();
    void hungUp();
    void endlessReply();

private:
    QLineEdit *search() const { return dialog->findChild<QLineEdit *>("leSearchString"); }
    QEditableTreeView *view() const { return dialog->findChild<QEditableTreeView *>("tvSearchResult"); }
    QLabel *racerPhoto() const { return dialog->findChild<QLabel *>("racerPhoto"); }
    QPushButton *button(QDialogButtonBox::StandardButton which) const
    {
        return dialog->findChild<QDialogButtonBox *>("buttonBox")->button(which);
    }
    int rows() const { return view()->model()->rowCount(); }
    QStringList names() const;
    void show();
    /// Asks for nothing in particular and lets the service answer with these clients.
    bool find(const QJsonArray &clients);

    static QJsonObject client(int id, const QString &name, const QString &photo = QString());
    static QString photoText(const QString &photo);
    static QString picture(const QSize &size, const QColor &color);

    std::unique_ptr<OnlineService> service;
    std::unique_ptr<AddRacerFromDbDialog> dialog;
};

void AddRacerFromDbDialogTest::init()
{
    service = std::make_unique<OnlineService>();
    QVERIFY(service->listen());
    dialog = std::make_unique<AddRacerFromDbDialog>(service->url());
    dialog->setApiKey("KEY");
}

void AddRacerFromDbDialogTest::cleanup()
{
    dialog.reset();
    service.reset();
}

QStringList AddRacerFromDbDialogTest::names() const
{
    QStringList list;
    for (int row = 0; row < rows(); ++row)
        list.append(view()->model()->index(row, 1).data().toString());
    return list;
}

void AddRacerFromDbDialogTest::show()
{
    dialog->show();
    dialog->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(dialog.get()));
}

bool AddRacerFromDbDialogTest::find(const QJsonArray &clients)
{
    const int before = service->requests().size();
    QSignalSpy arrivals(view()->model(), &QAbstractItemModel::layoutChanged);
    dialog->on_leSearchString_textEdited("x");
    return service->waitFor(before + 1) && service->answer(before, OnlineService::results(clients))
           && QTest::qWaitFor([&arrivals] { return !arrivals.isEmpty(); });
}

QJsonObject AddRacerFromDbDialogTest::client(int id, const QString &name, const QString &photo)
{
    QJsonObject json{{"id", id}, {"name", name}};
    if (!photo.isNull())
        json.insert("photo", photo);
    return json;
}

QString AddRacerFromDbDialogTest::photoText(const QString &photo)
{
    return "<img src=\"" + photo + "\" style=\"width:100%;height:100%;\"/>";
}

QString AddRacerFromDbDialogTest::picture(const QSize &size, const QColor &color)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(color);
    QBuffer png;
    image.save(&png, "PNG");
    return "data:image/png;base64," + png.data().toBase64();
}

void AddRacerFromDbDialogTest::metaObject()
{
    const QMetaObject &meta = AddRacerFromDbDialog::staticMetaObject;
    QCOMPARE(QByteArray(meta.superClass()->className()), QByteArray("QDialog"));
    QStringList slotNames;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        slotNames.append(QString::fromLatin1(meta.method(i).methodSignature()));
    QCOMPARE(slotNames, (QStringList{"on_leSearchString_textEdited(QString)", "networkReplyReceived(QNetworkReply*)",
                                     "on_tvSearchResult_doubleClicked(QModelIndex)", "accept()"}));
}

void AddRacerFromDbDialogTest::widgets()
{
    QCOMPARE(dialog->windowTitle(), QString("Поиск клиента"));
    QVERIFY(!(dialog->windowFlags() & Qt::WindowContextHelpButtonHint));
    bool labelled = false;
    const QList<QLabel *> labels = dialog->findChildren<QLabel *>();
    for (const QLabel *label : labels)
        labelled = labelled || (label->text() == "Телефон/Имя" && label->buddy() == search());
    QVERIFY(labelled);
    const auto *group = dialog->findChild<QGroupBox *>();
    QCOMPARE(group->title(), QString("Результат поиска"));
    QVERIFY(group->isAncestorOf(view()));
    QVERIFY(group->isAncestorOf(racerPhoto()));
    QCOMPARE(QByteArray(racerPhoto()->metaObject()->className()), QByteArray("QLabel"));
    QCOMPARE(racerPhoto()->maximumWidth(), 400);
    QCOMPARE(racerPhoto()->text(), QString());
    QVERIFY(button(QDialogButtonBox::Ok));
    QVERIFY(button(QDialogButtonBox::Cancel));
}

void AddRacerFromDbDialogTest::resultView()
{
    QVERIFY(!view()->rootIsDecorated());
    QVERIFY(view()->uniformRowHeights());
    QVERIFY(!view()->itemsExpandable());
    QVERIFY(!view()->expandsOnDoubleClick());
    QVERIFY(!view()->header()->stretchLastSection());
    QCOMPARE(view()->columnWidth(0), 40);
    QCOMPARE(view()->columnWidth(1), 160);
    QVERIFY(qobject_cast<RacersFromDbDelegate *>(view()->itemDelegate()));
    QVERIFY(qobject_cast<RacersFromDbModel *>(view()->model()));
}

void AddRacerFromDbDialogTest::keyboardAtOpening()
{
    show();
    QCOMPARE(QApplication::focusWidget(), search());
    QTest::keyClicks(search(), "9");
    QVERIFY(service->waitFor(1));
}

void AddRacerFromDbDialogTest::oneSearchPerLetter()
{
    show();
    QTest::keyClicks(search(), "ab");
    QTest::sendKeyEvent(QTest::Click, search(), Qt::Key_unknown, QString("в"), Qt::NoModifier);
    QVERIFY(service->waitFor(3));
    QTest::qWait(50);
    QCOMPARE(service->requests().size(), 3);
    QSet<QByteArray> bodies;
    for (const OnlineService::Request &request : service->requests()) {
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.path, QByteArray("/findracer.php"));
        QCOMPARE(request.contentType, QByteArray("application/x-www-form-urlencoded"));
        bodies.insert(request.body);
    }
    // On separate connections: which one is heard first is nobody's promise.
    QCOMPARE(bodies,
             (QSet<QByteArray>{"apiKey=KEY&fullData=true&searchString=a", "apiKey=KEY&fullData=true&searchString=ab",
                               "apiKey=KEY&fullData=true&searchString=ab%D0%B2"}));
}

void AddRacerFromDbDialogTest::lateReplyWins()
{
    dialog->on_leSearchString_textEdited("a");
    QVERIFY(service->waitFor(1));
    dialog->on_leSearchString_textEdited("ab");
    QVERIFY(service->waitFor(2));
    QVERIFY(service->isWaiting(0));
    QVERIFY(service->answer(1, OnlineService::results({client(2, "second")})));
    QTRY_COMPARE(names(), QStringList{"second"});
    QVERIFY(service->answer(0, OnlineService::results({client(1, "first"), client(3, "third")})));
    QTRY_COMPARE(names(), (QStringList{"first", "third"}));
    QCOMPARE(racerPhoto()->text(), QString());
}

void AddRacerFromDbDialogTest::scannedCode()
{
    dialog->applyQrCode(JsonMatch::object(R"({"iv": "a+b", "data": "c=", "more": 1})"));
    QVERIFY(service->waitFor(1));
    QCOMPARE(service->requests().first().path, QByteArray("/findracer.php"));
    QCOMPARE(service->requests().first().contentType, QByteArray("application/x-www-form-urlencoded"));
    QCOMPARE(service->requests().first().body,
             QByteArray(R"(qrcode={"data":"c%253D","fullData":true,"iv":"a%252Bb"})"));
    QVERIFY(service->answer(0, OnlineService::results({client(1, "one", "p")})));
    QTRY_COMPARE(names(), QStringList{"one"});
    QCOMPARE(racerPhoto()->text(), photoText("p"));
    QCOMPARE(search()->text(), QString());
}

void AddRacerFromDbDialogTest::setTextSearchesNothing()
{
    search()->setText("abc");
    QTest::qWait(100);
    QCOMPARE(service->requests().size(), 0);
}

void AddRacerFromDbDialogTest::badReply_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("status");
    QTest::newRow("empty") << QByteArray() << 200;
    QTest::newRow("no JSON") << QByteArray("<html>") << 200;
    QTest::newRow("half of a reply") << QByteArray(R"({"results":[{"id":1,"na)") << 200;
    QTest::newRow("array") << QByteArray(R"([{"id":1}])") << 200;
    QTest::newRow("no results") << QByteArray(R"({"status":"ok"})") << 200;
    QTest::newRow("results of another type") << QByteArray(R"({"results":{"id":1}})") << 200;
    QTest::newRow("deep") << QByteArray(R"({"results":)" + QByteArray(100000, '[')) << 200;
    QTest::newRow("not found") << OnlineService::results({client(1, "x")}) << 404;
    QTest::newRow("server error") << OnlineService::results({client(1, "x")}) << 500;
}

void AddRacerFromDbDialogTest::badReply()
{
    QFETCH(QByteArray, body);
    QFETCH(int, status);
    QVERIFY(find({client(1, "one"), client(2, "two")}));
    QCOMPARE(rows(), 2);
    dialog->on_leSearchString_textEdited("x");
    QVERIFY(service->waitFor(2));
    QVERIFY(service->answer(1, body, status));
    QTRY_COMPARE(rows(), 0);
    QVERIFY(find({client(3, "three")}));
    QCOMPARE(names(), QStringList{"three"});
}

void AddRacerFromDbDialogTest::errorKeepsThePhoto()
{
    QVERIFY(find({client(1, "one", "p")}));
    dialog->on_leSearchString_textEdited("x");
    QVERIFY(service->waitFor(2));
    QVERIFY(service->answer(1, "{}", 500));
    QTRY_COMPARE(rows(), 0);
    QCOMPARE(racerPhoto()->text(), photoText("p"));
}

void AddRacerFromDbDialogTest::emptyReplyClearsThePhoto()
{
    QVERIFY(find({client(1, "one", "p")}));
    QCOMPARE(racerPhoto()->text(), photoText("p"));
    QVERIFY(find({}));
    QCOMPARE(rows(), 0);
    QCOMPARE(racerPhoto()->text(), QString());
}

void AddRacerFromDbDialogTest::photo_data()
{
    QTest::addColumn<QJsonArray>("results");
    QTest::addColumn<QString>("text");
    QTest::newRow("one") << QJsonArray{client(1, "a", "data:x")} << photoText("data:x");
    QTest::newRow("one without a photo") << QJsonArray{client(1, "a")} << photoText("");
    QTest::newRow("number for a photo") << QJsonArray{QJsonObject{{"id", 1}, {"photo", 5}}} << photoText("");
    QTest::newRow("place marks") << QJsonArray{client(1, "a", "%1%2%L1")} << photoText("%1%2%L1");
    QTest::newRow("two") << QJsonArray{client(1, "a", "p"), client(2, "b", "q")} << QString();
    QTest::newRow("one listed of two") << QJsonArray{client(1, "a", "p"), client(-1, "b", "q")} << photoText("p");
    QTest::newRow("photo of the first, who is not listed")
        << QJsonArray{client(-1, "a", "p"), client(2, "b", "q")} << photoText("p");
    QTest::newRow("none listed") << QJsonArray{client(-1, "a", "p")} << QString();
}

void AddRacerFromDbDialogTest::photo()
{
    QFETCH(QJsonArray, results);
    QVERIFY(find(results));
    QTEST(racerPhoto()->text(), "text");
}

/// A photo as a phone takes it does not push the buttons off the screen.
void AddRacerFromDbDialogTest::photoKeepsTheSize()
{
    show();
    const QSize before = dialog->size();
    const QRect list = view()->geometry();
    QVERIFY(find({client(1, "a", picture({1500, 3000}, Qt::red))}));
    QTest::qWait(50);
    QCOMPARE(dialog->size(), before);
    QCOMPARE(view()->geometry(), list);
    QVERIFY(racerPhoto()->width() <= 400);
}

void AddRacerFromDbDialogTest::photoIsSeenWhole()
{
    QImage quarters(800, 800, QImage::Format_RGB32);
    quarters.fill(Qt::red);
    for (int y = 400; y < 800; ++y) {
        for (int x = 400; x < 800; ++x)
            quarters.setPixelColor(x, y, Qt::blue);
    }
    QBuffer png;
    quarters.save(&png, "PNG");
    show();
    QVERIFY(find({client(1, "a", "data:image/png;base64," + png.data().toBase64())}));
    QCoreApplication::processEvents();
    const QImage seen = racerPhoto()->grab().toImage();
    const int side = qMin(seen.width(), seen.height());
    const QPoint corner((seen.width() - side) / 2, (seen.height() - side) / 2);
    QCOMPARE(seen.pixelColor(corner + QPoint(5, 5)), QColor(Qt::red));
    QCOMPARE(seen.pixelColor(corner + QPoint(side - 6, 5)), QColor(Qt::red));
    QCOMPARE(seen.pixelColor(corner + QPoint(side - 6, side - 6)), QColor(Qt::blue));
    // The next client has no photo: nothing of the former one remains.
    QVERIFY(find({client(2, "b")}));
    QCoreApplication::processEvents();
    QVERIFY(racerPhoto()->grab().toImage().pixelColor(seen.rect().center()) != QColor(Qt::red));
}

void AddRacerFromDbDialogTest::okWithOneClient()
{
    show();
    QVERIFY(find({client(7, "one", "p")}));
    QVERIFY(!view()->currentIndex().isValid());
    QVERIFY(dialog->selectedRecord().isEmpty());
    button(QDialogButtonBox::Ok)->click();
    QCOMPARE(dialog->result(), int(QDialog::Accepted));
    QVERIFY(!dialog->isVisible());
    JSON_COMPARE(dialog->selectedRecord(), JsonMatch::object(R"({"id":7,"name":"one","photo":"p","clientId":7})"));
}

void AddRacerFromDbDialogTest::okWithOneClientAndAnotherPhoto()
{
    show();
    QVERIFY(find({client(-1, "nobody", "p"), client(2, "two", "q")}));
    QCOMPARE(names(), QStringList{"two"});
    button(QDialogButtonBox::Ok)->click();
    QCOMPARE(dialog->selectedRecord().value("clientId").toInt(), 2);
}

void AddRacerFromDbDialogTest::okWithoutChoice()
{
    show();
    button(QDialogButtonBox::Ok)->click();
    QVERIFY(dialog->isVisible());
    QVERIFY(find({client(1, "one", "p"), client(2, "two", "q")}));
    QCOMPARE(racerPhoto()->text(), QString());
    button(QDialogButtonBox::Ok)->click();
    QVERIFY(dialog->isVisible());
    QVERIFY(dialog->selectedRecord().isEmpty());
}

void AddRacerFromDbDialogTest::okWithChoice()
{
    show();
    QVERIFY(find({client(1, "one"), client(2, "two")}));
    view()->setCurrentIndex(view()->model()->index(1, 0));
    button(QDialogButtonBox::Ok)->click();
    QVERIFY(!dialog->isVisible());
    QCOMPARE(dialog->selectedRecord().value("clientId").toInt(), 2);
}

/// A reply that comes late takes the chosen client away: the dialog asks again, and takes nobody else for him.
void AddRacerFromDbDialogTest::choiceThatIsGone()
{
    show();
    QVERIFY(find({client(1, "one"), client(2, "two")}));
    view()->setCurrentIndex(view()->model()->index(1, 0));
    QVERIFY(find({client(3, "three"), client(4, "four"), client(5, "five")}));
    button(QDialogButtonBox::Ok)->click();
    QVERIFY(dialog->isVisible());
    QVERIFY(find({}));
    button(QDialogButtonBox::Ok)->click();
    QVERIFY(dialog->isVisible());
}

void AddRacerFromDbDialogTest::returnInTheSearch()
{
    show();
    QVERIFY(find({client(1, "one"), client(2, "two")}));
    QTest::keyClick(search(), Qt::Key_Return);
    QVERIFY(dialog->isVisible());
    QVERIFY(find({client(2, "two")}));
    QTest::keyClick(search(), Qt::Key_Return);
    QVERIFY(!dialog->isVisible());
    QCOMPARE(dialog->selectedRecord().value("clientId").toInt(), 2);
}

void AddRacerFromDbDialogTest::escape()
{
    show();
    QVERIFY(find({client(1, "one")}));
    QTest::keyClick(search(), Qt::Key_Escape);
    QVERIFY(!dialog->isVisible());
    QCOMPARE(dialog->result(), int(QDialog::Rejected));
    QVERIFY(dialog->selectedRecord().isEmpty());
}

void AddRacerFromDbDialogTest::doubleClick()
{
    show();
    QVERIFY(find({client(1, "one"), client(2, "two")}));
    const QPoint where = view()->visualRect(view()->model()->index(1, 1)).center();
    QTest::mouseClick(view()->viewport(), Qt::LeftButton, Qt::NoModifier, where);
    QVERIFY(dialog->isVisible());
    QTest::mouseDClick(view()->viewport(), Qt::LeftButton, Qt::NoModifier, where);
    QVERIFY(!dialog->isVisible());
    QCOMPARE(dialog->selectedRecord().value("clientId").toInt(), 2);
}

void AddRacerFromDbDialogTest::doubleClickBesideTheRows()
{
    show();
    QVERIFY(find({client(1, "one")}));
    dialog->on_tvSearchResult_doubleClicked(QModelIndex());
    QTest::mouseDClick(view()->viewport(), Qt::LeftButton, Qt::NoModifier,
                       view()->viewport()->rect().bottomRight() - QPoint(3, 3));
    QVERIFY(dialog->isVisible());
}

void AddRacerFromDbDialogTest::closedBeforeTheReply()
{
    show();
    for (int i = 0; i < 3; ++i)
        dialog->on_leSearchString_textEdited("x");
    QVERIFY(service->waitFor(3));
    dialog->reject();
    dialog.reset();
    for (int i = 0; i < 3; ++i)
        service->answer(i, OnlineService::results({client(1, "one")}));
    // The callers have hung up; nothing comes back to a dialog that is gone.
    for (int i = 0; i < 3; ++i)
        QTRY_VERIFY(!service->isWaiting(i));
}

void AddRacerFromDbDialogTest::hungUp()
{
    QVERIFY(find({client(1, "one")}));
    dialog->on_leSearchString_textEdited("x");
    QVERIFY(service->waitFor(2));
    service->send(1, "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n{\"results\":[{\"id\":2}]}");
    QTest::qWait(50);
    QCOMPARE(names(), QStringList{"one"});
    service->hangUp(1);
    QTRY_COMPARE(rows(), 0);
}

void AddRacerFromDbDialogTest::endlessReply()
{
    QVERIFY(find({client(1, "one")}));
    dialog->on_leSearchString_textEdited("x");
    QVERIFY(service->waitFor(2));
    service->send(1, "HTTP/1.1 200 OK\r\n\r\n");
    const QByteArray flood(1 << 20, ' ');
    for (int sent = 0; sent < 256 && rows() == 1 && service->send(1, flood); ++sent)
        QTest::qWait(5);
    QTRY_COMPARE(rows(), 0);
    QTRY_VERIFY(!service->isWaiting(1));
}

DESK_TEST_MAIN(AddRacerFromDbDialogTest)

#include "tst_addracerfromdbdialog.moc"
