#include "printing/printpreprocessor.h"

#include "plugin/hostevents.h"

std::atomic<int> PrintPreprocessor::liveCount{0};

PrintPreprocessor::PrintPreprocessor(QObject *parent)
    : QThread(parent)
{
    ++liveCount;
}

PrintPreprocessor::~PrintPreprocessor()
{
    wait();
    --liveCount;
}

void PrintPreprocessor::setTemplateName(const QString &name)
{
    templateName = name;
}

void PrintPreprocessor::setPrintParams(const QJsonObject &params)
{
    printParams = params;
}

bool PrintPreprocessor::start()
{
    if (isRunning())
        return false;
    QThread::start(QThread::InheritPriority);
    return true;
}

void PrintPreprocessor::run()
{
    // Plain heap texts, as everything that the host gets.
    Q_EMIT printRun(QString::fromLatin1("print_preprocessor"), QString::fromLatin1(HostEvents::PrintResults),
                    {
                        {QLatin1String("printParams"), printParams},
                        {QLatin1String("printCount"), printCount},
                        {QLatin1String("preview"), preview},
                        {QLatin1String("sortType"), sortType},
                        {QLatin1String("templateName"), templateName},
                    });
    quit();
}
