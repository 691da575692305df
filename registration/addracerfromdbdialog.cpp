#include "registration/addracerfromdbdialog.h"

#include "common/jsonread.h"
#include "registration/serviceforms.h"
#include "ui_addracerfromdbdialog.h"

#include <QNetworkReply>

AddRacerFromDbDialog::AddRacerFromDbDialog(const QString &serviceUrl, QWidget *parent)
    : QDialog(parent)
    , serviceAppUrl(serviceUrl)
    , ui(std::make_unique<Ui::AddRacerFromDbDialog>())
{
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    ui->setupUi(this);
    ui->tvSearchResult->setItemDelegate(&delegate);
    ui->tvSearchResult->setModel(&model);
    model.attachView(ui->tvSearchResult);
    ui->leSearchString->setFocus();
    connect(&networkManager, &QNetworkAccessManager::finished, this, &AddRacerFromDbDialog::networkReplyReceived);
}

AddRacerFromDbDialog::~AddRacerFromDbDialog()
{
    // The view looks at its model until it goes, and a request may end with the manager: both are the dialog's own.
    networkManager.disconnect(this);
    ui->tvSearchResult->setModel(nullptr);
}

void AddRacerFromDbDialog::setApiKey(const QString &key)
{
    apiKey = key;
}

QJsonObject AddRacerFromDbDialog::selectedRecord() const
{
    return selected;
}

void AddRacerFromDbDialog::applyQrCode(const QJsonObject &json)
{
    ServiceForms::post(&networkManager, serviceAppUrl, QString(), ServiceForms::scannedCode(json));
}

void AddRacerFromDbDialog::on_leSearchString_textEdited(QString arg1)
{
    ServiceForms::post(&networkManager, serviceAppUrl, QString(), ServiceForms::search(apiKey, arg1));
}

void AddRacerFromDbDialog::networkReplyReceived(QNetworkReply *nr)
{
    nr->deleteLater();
    if (nr->error() != QNetworkReply::NoError) {
        model.setResults(QJsonArray());
        return;
    }
    ui->tvSearchResult->setText(tr("Не найдено"));
    ui->racerPhoto->clear();
    const QJsonObject reply = JsonRead::object(nr->readAll()).value_or(QJsonObject());
    const QJsonArray results = reply.value(QLatin1String("results")).toArray();
    model.setResults(results);
    ui->tvSearchResult->update();
    if (model.rowCount() == 1) {
        const QString photo = results.first().toObject().value(QLatin1String("photo")).toString();
        ui->racerPhoto->setText(QStringLiteral("<img src=\"%1\" style=\"width:100%;height:100%;\"/>").arg(photo));
    }
}

bool AddRacerFromDbDialog::isRow(const QModelIndex &index) const
{
    return index.isValid() && index.row() < model.rowCount();
}

void AddRacerFromDbDialog::on_tvSearchResult_doubleClicked(QModelIndex index)
{
    if (isRow(index))
        accept();
}

void AddRacerFromDbDialog::accept()
{
    int row = 0;
    if (model.rowCount() != 1) {
        const QModelIndex current = ui->tvSearchResult->currentIndex();
        if (!isRow(current))
            return;
        row = current.row();
    }
    selected = model.racer(row).record;
    QDialog::accept();
}
