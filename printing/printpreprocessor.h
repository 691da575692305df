#ifndef PRINTPREPROCESSOR_H
#define PRINTPREPROCESSOR_H

#include <QJsonObject>
#include <QString>
#include <QThread>

#include <atomic>

/// One document job on its way to the host: a thread that wraps the job, raises it and ends. Filled before start(); the
/// thread only reads it.
class PrintPreprocessor : public QThread
{
    Q_OBJECT

public:
    explicit PrintPreprocessor(QObject *parent = nullptr);
    /// Waits for the thread.
    ~PrintPreprocessor() override;

    void setTemplateName(const QString &name);
    void setPrintParams(const QJsonObject &params);

    /// False if the job is running already.
    bool start();

Q_SIGNALS:
    /// Raised on the job's own thread.
    void printRun(QString module, QString event, QJsonObject jsonData);

protected:
    void run() override;

private:
    static std::atomic<int> liveCount;

    QString templateName;
    int printCount = 1;
    QJsonObject printParams;
    bool preview = false;
    int sortType = 0;
};

#endif // PRINTPREPROCESSOR_H
