#ifndef ADDRACERFROMDBDIALOG_H
#define ADDRACERFROMDBDIALOG_H

#include "registration/racersfromdbdelegate.h"
#include "registration/racersfromdbmodel.h"

#include <QDialog>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QString>

#include <memory>

class QNetworkReply;

namespace Ui {
class AddRacerFromDbDialog;
}

/// The dialog in which a cashier finds a client of the online service, by typing or with a scanned code. Lives for one
/// exec(); what is still on its way from the service goes down with it. GUI thread.
class AddRacerFromDbDialog : public QDialog
{
    Q_OBJECT

public:
    /// `serviceAppUrl` is the address of the service, without a slash at its end.
    explicit AddRacerFromDbDialog(const QString &serviceAppUrl, QWidget *parent = nullptr);
    ~AddRacerFromDbDialog() override;

    /// The track's key at the service.
    void setApiKey(const QString &key);

    /// Looks up the client whose code was scanned; the reply fills the list as that of a typed search does.
    void applyQrCode(const QJsonObject &json);

    /// The record of the client chosen, with `clientId`; empty before acceptance.
    QJsonObject selectedRecord() const;

public Q_SLOTS:
    void on_leSearchString_textEdited(QString arg1);
    void networkReplyReceived(QNetworkReply *nr);
    void on_tvSearchResult_doubleClicked(QModelIndex index);
    /// Takes the only client, or the one chosen in the list. Without either the dialog stays open.
    void accept() override;

private:
    bool isRow(const QModelIndex &index) const;

    QJsonObject selected;
    QString apiKey;
    QString serviceAppUrl;
    QNetworkAccessManager networkManager;
    RacersFromDbModel model;
    RacersFromDbDelegate delegate;
    std::unique_ptr<Ui::AddRacerFromDbDialog> ui;
};

#endif // ADDRACERFROMDBDIALOG_H
