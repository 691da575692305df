#include "desktest.h"
#include "hostprobe.h"

#include <QMetaMethod>

/// The meta-objects that other code reaches the desk by: order and signatures of signals and slots.
class TestMetaObject : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void hostInterface();
    void plugin();
    void form();
    void settingsPage();
    void treeView();
    void pluginSlotByName();

private:
    std::unique_ptr<TempTrack> m_track;
    std::unique_ptr<HostProbe> m_desk;
};

namespace {

const QMetaObject *metaObjectNamed(const QObject *object, const char *name)
{
    for (const QMetaObject *meta = object->metaObject(); meta; meta = meta->superClass()) {
        if (qstrcmp(meta->className(), name) == 0)
            return meta;
    }
    return nullptr;
}

/// The class's own methods of one kind, in order.
QStringList own(const QMetaObject *meta, QMetaMethod::MethodType type)
{
    QStringList signatures;
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        if (meta->method(i).methodType() == type)
            signatures.append(QString::fromLatin1(meta->method(i).methodSignature()));
    }
    return signatures;
}

int ownCount(const QMetaObject *meta)
{
    return meta->methodCount() - meta->methodOffset();
}

QStringList latin1(std::initializer_list<const char *> names)
{
    QStringList list;
    for (const char *name : names)
        list.append(QString::fromLatin1(name));
    return list;
}

} // namespace

void TestMetaObject::initTestCase()
{
    m_track = std::make_unique<TempTrack>();
    m_desk = std::make_unique<HostProbe>(QStringLiteral(LAPVANE_PLUGIN_FILE));
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
}

void TestMetaObject::cleanupTestCase()
{
    m_desk.reset();
    m_track.reset();
}

void TestMetaObject::hostInterface()
{
    const QMetaObject *meta = metaObjectNamed(m_desk->plugin(), "VanePluginInterface");
    QVERIFY(meta);
    QCOMPARE(meta->superClass()->className(), "QObject");
    QCOMPARE(ownCount(meta), 2);
    const QMetaMethod signal = meta->method(meta->methodOffset());
    const QMetaMethod slot = meta->method(meta->methodOffset() + 1);
    QCOMPARE(signal.methodType(), QMetaMethod::Signal);
    QCOMPARE(signal.methodSignature(), QByteArray("pluginSignal(QString,QString,QJsonObject)"));
    QCOMPARE(slot.methodType(), QMetaMethod::Slot);
    QCOMPARE(slot.methodSignature(), QByteArray("pluginSlot(QString,QString,QJsonObject)"));
    const QList<QByteArray> names{"module", "event", "jsonData"};
    QCOMPARE(signal.parameterNames(), names);
    QCOMPARE(slot.parameterNames(), names);
}

void TestMetaObject::plugin()
{
    const QMetaObject *meta = m_desk->plugin()->metaObject();
    QCOMPARE(meta->className(), "LapvaneTicketPlugin");
    QCOMPARE(meta->superClass()->className(), "VanePluginInterface");
    QCOMPARE(own(meta, QMetaMethod::Slot),
             latin1({"newLocalConnection()", "localDataReceived()", "pluginSlot(QString,QString,QJsonObject)"}));
    QCOMPARE(ownCount(meta), 3);
}

void TestMetaObject::form()
{
    const QMetaObject *meta = m_desk->tab()->metaObject();
    QCOMPARE(meta->className(), "TicketPluginForm");
    QCOMPARE(meta->superClass()->className(), "QWidget");
    const QStringList slots_ = own(meta, QMetaMethod::Slot);
    const QStringList expected = latin1({
        "loadSettings()",
        "lwRuns_rowsMoved(QModelIndex,int,int,QModelIndex,int)",
        "assignCarToRacer(QAction*)",
        "runQueueChanged(QString,bool)",
        "runQueueChanged(QString)",
        "runQueueChanged()",
        "setCurrentTab(QJsonObject)",
        "networkRequestFinished(QNetworkReply*)",
        "itemsDroppedToRun(QJsonArray,const QObject*)",
        "itemsUndroppedFromRun(QJsonArray)",
        "on_actionAddRacer_triggered()",
        "on_bAddRacer_clicked()",
        "on_actionEditRacer_triggered()",
        "on_actionMoveToRuns_triggered()",
        "toRunsClicked(QJsonObject)",
        "on_actionPrintTicket_triggered()",
        "ticketPrinted(QJsonObject)",
        "on_actionRemoveRacer_triggered()",
        "on_bRemoveRacerFromList_clicked()",
        "on_actionRemoveRegHistory_triggered()",
        "on_tvHistoryList_doubleClicked(QModelIndex)",
        "scanNFCClicked(QModelIndex)",
        "on_actionRemoveRun_triggered()",
        "on_bRemoveRun_clicked()",
        "on_bAddRun_clicked()",
        "on_actionRenumberRuns_triggered()",
        "on_actionRenameRun_triggered()",
        "on_bAddRacerFromDb_clicked()",
        "scannerData()",
        "on_pbRemovePaid_clicked()",
        "on_tvCheckIn_clicked(QModelIndex)",
        "checkIn_doubleClicked(QModelIndex)",
        "checkInItemClicked(QModelIndex,QString)",
        "paymentUpdate(QJsonObject)",
        "priceSettingsChanged()",
        "on_cbPricesNames_activated(int)",
        "priceItemsRemoved(QList<qint32>)",
        "printSafety(QModelIndex)",
        "validateRegList()",
        "someError(QString)",
        "checkInListUpdated(QJsonArray)",
        "on_pbClearRunsHistory_clicked()",
        "on_lwRunsList_customContextMenuRequested(QPoint)",
        "on_actionRemoveFromRun_triggered()",
        "lwRunsSelectionChanged(QItemSelection,QItemSelection)",
        "startStopRun(QJsonObject)",
        "on_actionRefundTicket_triggered()",
        "on_pbSimplePayment_clicked()",
        "on_pbClearPitlane_clicked()",
        "on_pbRemoveFromPitLane_clicked()",
    });
    QCOMPARE(expected.size(), 50);
    QCOMPARE(slots_, expected);
    QCOMPARE(own(meta, QMetaMethod::Signal), QStringList());
    QCOMPARE(ownCount(meta), 50);
}

void TestMetaObject::settingsPage()
{
    const QMetaObject *meta = m_desk->settingsPage()->metaObject();
    QCOMPARE(meta->className(), "SettingsPage");
    QCOMPARE(meta->superClass()->className(), "QWidget");
    QCOMPARE(own(meta, QMetaMethod::Signal), latin1({"settingsUpdated()"}));
    QCOMPARE(own(meta, QMetaMethod::Slot),
             latin1({"pluginSlot(QString,QString,QJsonObject)", "on_tvPrices_clicked(QModelIndex)",
                     "on_tvPrices_doubleClicked(QModelIndex)", "on_tPrices_customContextMenuRequested(QPoint)",
                     "on_actionAddPricesTab_triggered()", "on_tPrices_currentChanged(int)",
                     "on_actionDeletePricesTab_triggered()", "on_actionRemovePrice_triggered()",
                     "on_actionRenameTab_triggered()", "on_actionAddPriceItem_triggered()"}));
    const QMetaMethod slot = meta->method(meta->indexOfSlot("pluginSlot(QString,QString,QJsonObject)"));
    QCOMPARE(slot.access(), QMetaMethod::Public);
    QCOMPARE(slot.parameterNames(), (QList<QByteArray>{"moduleName", "event", "jsonData"}));
}

void TestMetaObject::treeView()
{
    const QMetaObject *meta = m_desk->find(QStringLiteral("tvCheckIn"))->metaObject();
    QCOMPARE(meta->className(), "QEditableTreeView");
    QCOMPARE(meta->superClass()->className(), "QTreeView");
    QCOMPARE(own(meta, QMetaMethod::Signal),
             latin1({"ctrlReturnClicked(QModelIndex)", "ctrlDelClicked(QModelIndex)",
                     "updateSelection(QItemSelection,QItemSelection)", "delClicked(int,int)",
                     "itemsDroppedOut(QJsonArray,const QObject*)"}));
    QCOMPARE(own(meta, QMetaMethod::Slot), latin1({"selectionChanged(QItemSelection,QItemSelection)"}));
    QCOMPARE(meta->method(meta->methodCount() - 1).access(), QMetaMethod::Protected);
}

// A host that was built without the header reaches the desk by the names alone.
void TestMetaObject::pluginSlotByName()
{
    m_desk->clear();
    QVERIFY(QMetaObject::invokeMethod(m_desk->plugin(), "pluginSlot", Qt::DirectConnection,
                                      Q_ARG(QString, QStringLiteral("host")),
                                      Q_ARG(QString, QStringLiteral("run_saved_to_db")),
                                      Q_ARG(QJsonObject, QJsonObject())));
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("reload_runs_archive")});
}

DESK_TEST_MAIN(TestMetaObject)

#include "tst_metaobject.moc"
