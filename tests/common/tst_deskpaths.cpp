#include "common/deskpaths.h"

#include "desktest.h"

#include <QStandardPaths>

/// Where the desk looks for its files, and that looking makes nothing.
class TestDeskPaths : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void standInTheDocumentsTree()
    {
        const TempTrack track(TempTrack::Bare);
        const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        QCOMPARE(documents, track.home() + QLatin1String("/Documents"));
        QCOMPARE(DeskPaths::database(), documents + QLatin1String("/Lapvane-QT/DB/lapvane.sqlite"));
        QCOMPARE(DeskPaths::journal(QStringLiteral("tickets.state")),
                 documents + QLatin1String("/Lapvane-QT/journals/tickets.state"));
        QCOMPARE(DeskPaths::journal(QStringLiteral("pitlanestate.json")),
                 documents + QLatin1String("/Lapvane-QT/journals/pitlanestate.json"));
    }

    void areThoseOfTheTemporaryTrack()
    {
        const TempTrack track(TempTrack::Bare);
        QCOMPARE(DeskPaths::database(), track.databaseFile());
        QCOMPARE(DeskPaths::journal(QStringLiteral("runslist.state")), track.journal(QStringLiteral("runslist.state")));
    }

    void followTheHome()
    {
        const TempTrack first(TempTrack::Bare);
        const QString before = DeskPaths::database();
        const TempTrack second(TempTrack::Bare);
        QVERIFY(DeskPaths::database() != before);
        QVERIFY(DeskPaths::database().startsWith(second.home()));
    }

    void makeNothing()
    {
        const TempTrack track(TempTrack::Bare);
        DeskPaths::database();
        DeskPaths::journal(QStringLiteral("tickets.state"));
        QVERIFY(QDir(track.documents()).isEmpty());
    }
};

DESK_TEST_MAIN(TestDeskPaths)

#include "tst_deskpaths.moc"
