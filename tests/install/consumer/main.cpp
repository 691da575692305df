#include <vaneplugininterface.h>

#include <QApplication>
#include <QPluginLoader>
#include <QTextStream>

/// A host at its smallest: loads the library named on the command line and asks it who it is.
int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QTextStream err(stderr);
    QPluginLoader loader(app.arguments().value(1));
    auto *module = qobject_cast<VanePluginInterface *>(loader.instance());
    if (!module) {
        err << "not a module: " << loader.fileName() << ' ' << loader.errorString() << '\n';
        return 1;
    }
    if (module->moduleName() != QLatin1String("ticket_plugin")) {
        err << "another module: " << module->moduleName() << '\n';
        return 1;
    }

    QStringList events;
    QObject::connect(module, &VanePluginInterface::pluginSignal, &app,
                     [&events](const QString &, const QString &event) { events.append(event); });
    module->pluginSlot(QStringLiteral("consumer"), QStringLiteral("load_complete"), QJsonObject());
    if (!events.contains(QLatin1String("insert_tab"))) {
        err << "no tab among the module's events: " << events.join(QLatin1Char(' ')) << '\n';
        return 1;
    }
    return loader.unload() ? 0 : 1;
}
