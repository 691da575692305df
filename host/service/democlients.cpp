#include "service/democlients.h"

#include "service/clientphoto.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace {

constexpr int clientCount = 300;

QString fullName(const DemoClients::Client &client)
{
    QStringList parts{client.lastName, client.firstName, client.midName};
    parts.removeAll(QString());
    return parts.join(QLatin1Char(' '));
}

// As people type it: case does not count, nor do the dots of ё.
QString folded(const QString &text)
{
    return text.toLower().replace(QChar(0x451), QChar(0x435));
}

QString digits(const QString &text)
{
    QString result;
    for (const QChar c : text) {
        if (c >= QLatin1Char('0') && c <= QLatin1Char('9'))
            result.append(c);
    }
    return result;
}

bool isPhone(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("^[-+() ]*[0-9][-+() 0-9]*$"));
    return form.match(text).hasMatch();
}

QString feminineLastName(const QString &lastName)
{
    if (lastName.endsWith(QStringLiteral("ий")))
        return lastName.chopped(2) + QStringLiteral("ая");
    for (const QString &ending :
         {QStringLiteral("ов"), QStringLiteral("ев"), QStringLiteral("ёв"), QStringLiteral("ин")}) {
        if (lastName.endsWith(ending))
            return lastName + QStringLiteral("а");
    }
    return lastName;
}

QString feminineMidName(const QString &midName)
{
    return midName.chopped(2) + QStringLiteral("на");
}

QString phone(int number)
{
    return QStringLiteral("+7000%1").arg(number, 7, 10, QLatin1Char('0'));
}

} // namespace

DemoClients::DemoClients()
{
    addNotableClients();
    addFurtherClients();
}

// The clients that the trials of the search are made with; docs/bench-host.md names them.
void DemoClients::addNotableClients()
{
    const auto add = [this](const QString &lastName, const QString &firstName, const QString &midName, bool woman,
                            QDate birthDate, int number) {
        Client client;
        client.id = m_clients.size() + 1;
        client.lastName = lastName;
        client.firstName = firstName;
        client.midName = midName;
        client.woman = woman;
        client.birthDate = birthDate;
        client.tel = phone(number);
        client.email = QStringLiteral("client%1@example.org").arg(client.id);
        client.visits = client.id;
        m_clients.append(client);
    };
    add(QStringLiteral("Орлова"), QStringLiteral("Анна"), QStringLiteral("Сергеевна"), true, {1988, 4, 17}, 1234567);
    add(QStringLiteral("Кузнецов"), QStringLiteral("Иван"), QStringLiteral("Петрович"), false, {1979, 9, 3}, 7654321);
    add(QStringLiteral("Кузнецов"), QStringLiteral("Иван"), QStringLiteral("Петрович"), false, {2001, 1, 29}, 7654322);
    add(QStringLiteral("Соловьёва"), QStringLiteral("Марина"), QStringLiteral("Львовна"), true, {1990, 12, 5}, 5550101);
    add(QStringLiteral("Соловьёв"), QStringLiteral("Фёдор"), QStringLiteral("Ильич"), false, {2013, 6, 30}, 5550101);
    add(QStringLiteral("Римская-Корсакова"), QStringLiteral("Ольга"), QString(), true, QDate(), 5550106);
    m_clients.last().email.clear();
    add(QStringLiteral("O'Neil & <Sons>"), QStringLiteral("James \"Jim\""), QString(), false, {1984, 2, 29}, 5550107);
    add(QStringLiteral("Безликов"), QStringLiteral("Глеб"), QStringLiteral("Глебович"), false, {1995, 8, 8}, 5550108);
    m_clients.last().hasPhoto = false;
}

void DemoClients::addFurtherClients()
{
    const QStringList lastNames{
        QStringLiteral("Абрамов"),   QStringLiteral("Беляев"),   QStringLiteral("Воронцов"),
        QStringLiteral("Гаврилов"),  QStringLiteral("Дмитриев"), QStringLiteral("Ермаков"),
        QStringLiteral("Жуков"),     QStringLiteral("Зимин"),    QStringLiteral("Ильин"),
        QStringLiteral("Калинин"),   QStringLiteral("Лукин"),    QStringLiteral("Макаров"),
        QStringLiteral("Никитин"),   QStringLiteral("Озеров"),   QStringLiteral("Панфилов"),
        QStringLiteral("Рожков"),    QStringLiteral("Савельев"), QStringLiteral("Ткаченко"),
        QStringLiteral("Уваров"),    QStringLiteral("Филатов"),  QStringLiteral("Харитонов"),
        QStringLiteral("Цветков"),   QStringLiteral("Черных"),   QStringLiteral("Шевчук"),
        QStringLiteral("Щербаков"),  QStringLiteral("Юдин"),     QStringLiteral("Яковлев"),
        QStringLiteral("Вяземский"), QStringLiteral("Королёв"),  QStringLiteral("Городецкий"),
    };
    const QStringList men{
        QStringLiteral("Алексей"), QStringLiteral("Борис"),  QStringLiteral("Виктор"), QStringLiteral("Григорий"),
        QStringLiteral("Денис"),   QStringLiteral("Егор"),   QStringLiteral("Захар"),  QStringLiteral("Игорь"),
        QStringLiteral("Кирилл"),  QStringLiteral("Леонид"), QStringLiteral("Максим"), QStringLiteral("Николай"),
        QStringLiteral("Пётр"),    QStringLiteral("Роман"),  QStringLiteral("Сергей"), QStringLiteral("Тимофей"),
    };
    const QStringList women{
        QStringLiteral("Алла"),   QStringLiteral("Валерия"), QStringLiteral("Галина"), QStringLiteral("Дарья"),
        QStringLiteral("Елена"),  QStringLiteral("Жанна"),   QStringLiteral("Зоя"),    QStringLiteral("Ирина"),
        QStringLiteral("Ксения"), QStringLiteral("Лариса"),  QStringLiteral("Мария"),  QStringLiteral("Надежда"),
        QStringLiteral("Полина"), QStringLiteral("Раиса"),   QStringLiteral("Софья"),  QStringLiteral("Татьяна"),
    };
    const QStringList midNames{
        QStringLiteral("Андреевич"),   QStringLiteral("Борисович"),      QStringLiteral("Викторович"),
        QStringLiteral("Геннадьевич"), QStringLiteral("Дмитриевич"),     QStringLiteral("Евгеньевич"),
        QStringLiteral("Игоревич"),    QStringLiteral("Константинович"), QStringLiteral("Леонидович"),
        QStringLiteral("Михайлович"),  QStringLiteral("Николаевич"),     QStringLiteral("Павлович"),
        QStringLiteral("Романович"),
    };
    for (int id = m_clients.size() + 1; id <= clientCount; ++id) {
        Client client;
        client.id = id;
        client.woman = id % 3 == 0;
        const QString &lastName = lastNames.at(id * 7 % lastNames.size());
        const QString &midName = midNames.at((id * 5 + id / 30) % midNames.size());
        const QStringList &firstNames = client.woman ? women : men;
        client.lastName = client.woman ? feminineLastName(lastName) : lastName;
        client.firstName = firstNames.at((id * 11 + id / 30) % firstNames.size());
        client.midName = client.woman ? feminineMidName(midName) : midName;
        client.birthDate = QDate(1960, 1, 1).addDays(id * 7919LL % 19000);
        client.tel = phone(id * 7919);
        client.email = QStringLiteral("client%1@example.org").arg(id);
        client.hasPhoto = id % 10 != 0;
        client.visits = id * 13 % 40;
        m_clients.append(client);
    }
}

const DemoClients::Client *DemoClients::client(int id) const
{
    return id >= 1 && id <= m_clients.size() ? &m_clients.at(id - 1) : nullptr;
}

QVector<const DemoClients::Client *> DemoClients::find(const QString &text) const
{
    const QString wanted = folded(text.simplified());
    QVector<const Client *> found;
    if (wanted.isEmpty())
        return found;

    if (isPhone(wanted)) {
        QString number = digits(wanted);
        if (number.size() == 11 && number.startsWith(QLatin1Char('8')))
            number[0] = QLatin1Char('7');
        for (const Client &client : m_clients) {
            if (digits(client.tel).contains(number))
                found.append(&client);
        }
    } else {
        const QStringList words = wanted.split(QLatin1Char(' '));
        for (const Client &client : m_clients) {
            const QString name = folded(fullName(client));
            if (std::all_of(words.cbegin(), words.cend(), [&name](const QString &word) { return name.contains(word); }))
                found.append(&client);
        }
    }

    std::stable_sort(found.begin(), found.end(),
                     [](const Client *left, const Client *right) { return fullName(*left) < fullName(*right); });
    if (found.size() > maxFound)
        found.resize(maxFound);
    return found;
}

QJsonObject DemoClients::record(const Client &client, bool full) const
{
    QJsonObject record{
        {QStringLiteral("id"), client.id},
        {QStringLiteral("clientId"), client.id},
        {QStringLiteral("firstName"), client.firstName},
        {QStringLiteral("lastName"), client.lastName},
        {QStringLiteral("midName"), client.midName},
        {QStringLiteral("name"), fullName(client)},
    };
    if (!full)
        return record;
    QString photo;
    if (client.hasPhoto) {
        QString &drawn = m_photos[client.id];
        if (drawn.isEmpty())
            drawn = ClientPhoto::dataUri(client.id, client.woman);
        photo = drawn;
    }
    record.insert(QStringLiteral("photo"), photo);
    record.insert(QStringLiteral("additionalData"), QJsonObject{{QStringLiteral("visits"), client.visits}});
    record.insert(QStringLiteral("birthDate"), client.birthDate.toString(Qt::ISODate));
    record.insert(QStringLiteral("tel"), client.tel);
    record.insert(QStringLiteral("email"), client.email);
    return record;
}
