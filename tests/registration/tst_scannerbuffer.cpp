#include "registration/scannerbuffer.h"

#include "desktest.h"
#include "jsonmatch.h"

/// What the desk finds in the bytes of a scanner.
class ScannerBufferTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void codes_data();
    void codes();
    void bytes_data();
    void bytes();
    void everySplit();
    void longestCode_data();
    void longestCode();
    void endlessCode();
    void bracesWithoutEnd();

private:
    static QJsonArray scan(ScannerBuffer &buffer, const QByteArray &bytes);
};

QJsonArray ScannerBufferTest::scan(ScannerBuffer &buffer, const QByteArray &bytes)
{
    QJsonArray found;
    const QString text = buffer.decode(bytes);
    for (const QChar character : text) {
        if (const auto code = buffer.take(character))
            found.append(*code);
    }
    return found;
}

void ScannerBufferTest::codes_data()
{
    QTest::addColumn<QByteArrayList>("reads");
    QTest::addColumn<QJsonArray>("found");
    const auto row = [](const char *name, const QByteArrayList &reads, const char *found) {
        QTest::newRow(name) << reads << JsonMatch::array(found);
    };
    row("nothing", {""}, "[]");
    row("one code", {R"({"iv":"1","data":"2"})"}, R"([{"iv":"1","data":"2"}])");
    row("split", {R"({"iv":"1","da)", R"(ta":"2"})"}, R"([{"iv":"1","data":"2"}])");
    row("split before its end", {R"({"iv":"1")", "}"}, R"([{"iv":"1"}])");
    row("split behind its brace", {"{", R"("iv":"1"})"}, R"([{"iv":"1"}])");
    row("two codes", {R"({"iv":"1"}{"iv":"2"})"}, R"([{"iv":"1"},{"iv":"2"}])");
    row("line ends between codes", {"{\"iv\":\"1\"}\r\n{\"iv\":\"2\"}\r\n"}, R"([{"iv":"1"},{"iv":"2"}])");
    row("noise", {R"(abc}]"{"iv":"1"}xyz}})", R"(:,{"iv":"2"})"}, R"([{"iv":"1"},{"iv":"2"}])");
    row("code begun again", {R"({"iv":"1","d{"iv":"2"})"}, R"([{"iv":"2"}])");
    row("empty object", {R"({}{"iv":"1"})"}, R"([{"iv":"1"}])");
    row("no JSON", {R"({iv:1}{"iv":"1"})"}, R"([{"iv":"1"}])");
    row("end only", {"}"}, "[]");
    row("array", {R"([1])"}, "[]");
    row("array of an object", {R"([{"iv":"1"}])"}, R"([{"iv":"1"}])");
    row("nested object", {R"({"a":{"iv":"1"}})"}, R"([{"iv":"1"}])");
    row("end within a text", {R"({"iv":"}"})"}, R"([{"iv":"}"}])");
    row("brace within a text", {R"({"iv":"{"})"}, "[]");
    row("blanks", {"{ \"iv\" : \"1\" }"}, R"([{"iv":"1"}])");
    row("second end", {R"({"iv":"1"}})", "}"}, R"([{"iv":"1"}])");
    row("other values", {R"({"iv":1,"data":null})"}, R"([{"iv":1,"data":null}])");
}

void ScannerBufferTest::codes()
{
    QFETCH(QByteArrayList, reads);
    QFETCH(QJsonArray, found);
    ScannerBuffer buffer;
    QJsonArray scanned;
    for (const QByteArray &read : qAsConst(reads)) {
        const QJsonArray codes = scan(buffer, read);
        for (const QJsonValue &code : codes)
            scanned.append(code);
    }
    JSON_COMPARE(scanned, found);
}

void ScannerBufferTest::bytes_data()
{
    QTest::addColumn<QByteArrayList>("reads");
    QTest::addColumn<QString>("iv");
    QTest::newRow("Cyrillic") << QByteArrayList{"{\"iv\":\"Ж\"}"} << "Ж";
    QTest::newRow("character in two reads") << QByteArrayList{"{\"iv\":\"\xd0", "\x96\"}"} << "Ж";
    QTest::newRow("character in three reads") << QByteArrayList{"{\"iv\":\"\xe2", "\x82", "\xac\"}"} << "€";
    QTest::newRow("empty read in between") << QByteArrayList{"{\"iv\":\"\xd0", "", "\x96\"}"} << "Ж";
    QTest::newRow("half a character before the code") << QByteArrayList{"\xd0", "{\"iv\":\"1\"}"} << "1";
    QTest::newRow("head of four bytes before the code") << QByteArrayList{"\xf0\x9f", "{\"iv\":\"1\"}"} << "1";
    QTest::newRow("half a character within one read") << QByteArrayList{"\xd0{\"iv\":\"1\"}"} << "1";
    QTest::newRow("half a character within the code") << QByteArrayList{"{\"iv\":\"\xd0\"}"} << QString(QChar(0xfffd));
    QTest::newRow("zeros") << QByteArrayList{QByteArray("\0\0{\"iv\":\"1\"}\0", 13)} << "1";
    QTest::newRow("byte order mark") << QByteArrayList{"\xef\xbb\xbf{\"iv\":\"1\"}"} << "1";
}

void ScannerBufferTest::bytes()
{
    QFETCH(QByteArrayList, reads);
    QFETCH(QString, iv);
    ScannerBuffer buffer;
    QJsonArray scanned;
    for (const QByteArray &read : qAsConst(reads)) {
        const QJsonArray codes = scan(buffer, read);
        for (const QJsonValue &code : codes)
            scanned.append(code);
    }
    JSON_COMPARE(scanned, (QJsonArray{QJsonObject{{"iv", iv}}}));
}

/// A code says the same wherever the line cuts it.
void ScannerBufferTest::everySplit()
{
    const QByteArray code = "{\"iv\":\"Ключ=\",\"data\":\"€/+\"}";
    for (int at = 0; at <= code.size(); ++at) {
        ScannerBuffer buffer;
        QJsonArray found = scan(buffer, code.left(at));
        const QJsonArray rest = scan(buffer, code.mid(at));
        for (const QJsonValue &value : rest)
            found.append(value);
        JSON_COMPARE(found, JsonMatch::array("[{\"iv\":\"Ключ=\",\"data\":\"€/+\"}]"));
    }
}

void ScannerBufferTest::longestCode_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("found");
    QTest::newRow("largest QR code") << 7089 << 1;
    QTest::newRow("longest") << ScannerBuffer::MaxCode << 1;
    QTest::newRow("too long") << ScannerBuffer::MaxCode + 1 << 0;
}

void ScannerBufferTest::longestCode()
{
    QFETCH(int, length);
    QFETCH(int, found);
    ScannerBuffer buffer;
    const QByteArray code = R"({"iv":")" + QByteArray(length - 9, 'x') + R"("})";
    QCOMPARE(code.size(), length);
    QCOMPARE(scan(buffer, code).size(), found);
    QCOMPARE(scan(buffer, R"({"iv":"1"})").size(), 1);
}

/// A megabyte of a code without an end costs next to nothing, and the next code is found.
void ScannerBufferTest::endlessCode()
{
    ScannerBuffer buffer;
    QCOMPARE(scan(buffer, "{\"iv\":\"" + QByteArray(1 << 20, '}')).size(), 0);
    QCOMPARE(scan(buffer, QByteArray(1 << 20, '}')).size(), 0);
    QCOMPARE(scan(buffer, R"({"iv":"1"})").size(), 1);
}

void ScannerBufferTest::bracesWithoutEnd()
{
    ScannerBuffer buffer;
    QCOMPARE(scan(buffer, QByteArray(1 << 20, '{')).size(), 0);
    QCOMPARE(scan(buffer, R"("iv":"1"})").size(), 1);
}

DESK_TEST_MAIN(ScannerBufferTest)

#include "tst_scannerbuffer.moc"
