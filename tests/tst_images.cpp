#include "images/ImagePasteboard.h"
#include "images/ImageStore.h"
#include "support/FaultyFiles.h"
#include "support/TestFiles.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QMimeData>
#include <QPainter>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray encoded(const QImage& image, const char* format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

QByteArray pngBytes(int width = 4, int height = 3)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(Qt::red);
    return encoded(image, "PNG");
}

// A JPEG as a phone writes it when held sideways: the pixels as the sensor saw them, and an
// EXIF orientation (6: turn a quarter clockwise to show) in a segment after the start marker.
QByteArray turnedByExif(const QByteArray& jpeg)
{
    const QByteArray tiff = QByteArray("MM\0*\0\0\0\x08"
                                       "\0\x01"
                                       "\x01\x12\0\x03\0\0\0\x01"
                                       "\0\x06\0\0"
                                       "\0\0\0\0",
                                       26);
    const QByteArray exif = QByteArray("Exif\0\0", 6) + tiff;
    QByteArray segment("\xFF\xE1", 2);
    segment.append(char((exif.size() + 2) >> 8)).append(char((exif.size() + 2) & 0xFF));
    return jpeg.left(2) + segment + exif + jpeg.mid(2);
}

// The token syntax as a regular expression: the hand-written matcher must agree with it.
const QRegularExpression tokenExpression(
    uR"(!\[image(?:\|([0-9]+(?:\.[0-9]+)?))?\]\(pondrift-img://([A-Za-z0-9-]+)\))"_s);

} // namespace

class TestImages : public QObject {
    Q_OBJECT

private:
    QTemporaryDir root;
    QString folder;
    FaultyFiles files;
    std::optional<ImageStore> store;

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init()
    {
        folder = root.filePath(u"Support/Images"_s);
        QDir(folder).removeRecursively();
        files.heal();
        store.emplace(folder, files);
    }

    void tokenText_data()
    {
        QTest::addColumn<double>("width"); // negative infinity stands for no width
        QTest::addColumn<QString>("expected");
        QTest::newRow("no width") << -qInf() << u"![image](pondrift-img://A)"_s;
        QTest::newRow("a whole width has no fraction")
            << 240.0 << u"![image|240](pondrift-img://A)"_s;
        QTest::newRow("a fraction is written with one decimal")
            << 240.25 << u"![image|240.2](pondrift-img://A)"_s;
        QTest::newRow("a zero width is dropped") << 0.0 << u"![image](pondrift-img://A)"_s;
    }
    void tokenText()
    {
        QFETCH(double, width);
        QFETCH(QString, expected);
        const std::optional<double> w = width == -qInf() ? std::nullopt : std::optional(width);
        QCOMPARE(ImageTokens::token(u"A"_s, w), expected);
    }

    // The scanner is written by hand for speed; the expression is the definition. Each text
    // mixes tokens with near misses, and the scanner must find just what the expression finds.
    void scanning_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("count"); // what the expression finds, lest a row prove nothing
        const QString a = u"](pondrift-img://A)"_s;
        // clang-format off
        QTest::newRow("widths with and without decimals") << u"![image|12.345](pondrift-img://A-1)![image|7"_s + a << 2;
        QTest::newRow("a width needs digits on both sides of its point, and no sign") << u"![image|"_s + a + u"![image|1."_s + a + u"![image|.5"_s + a + u"![image|-5"_s + a << 0;
        QTest::newRow("an id needs a character, and a bracket to close it") << u"![image](pondrift-img://) ![image](pondrift-img://A_) ![image](pondrift-img://A"_s << 0;
        QTest::newRow("a path cannot be smuggled in") << u"![image](pondrift-img://../x) ![image](pondrift-img://a/b)"_s << 0;
        QTest::newRow("a token may start inside a near miss") << u"![image![image"_s + a + u"![image|5![image|5"_s + a << 2;
        QTest::newRow("ranges count UTF-16 units after astral characters, repeats kept") << u"😀 ![image](pondrift-img://B)x![image|7](pondrift-img://B)"_s << 2;
        // clang-format on
    }
    void scanning()
    {
        QFETCH(QString, text);
        QFETCH(int, count);
        QList<ImageToken> expected;
        QStringList ids;
        QRegularExpressionMatchIterator it = tokenExpression.globalMatch(text);
        while (it.hasNext()) {
            const QRegularExpressionMatch m = it.next();
            ImageToken token{m.captured(2), std::nullopt,
                             TextRange{m.capturedStart(0), m.capturedLength(0)}};
            if (m.capturedStart(1) >= 0)
                token.width = m.captured(1).toDouble();
            expected.append(token);
            ids.append(token.id);
        }
        QCOMPARE(expected.size(), count);
        QVERIFY(ImageTokens::tokens(text) == expected);
        QCOMPARE(ImageTokens::referencedIDs(text), ids);
    }

    void extensions_data()
    {
        QTest::addColumn<QString>("ext");
        QTest::addColumn<QString>("storedAs"); // empty when refused
        QTest::newRow("upper case is stored lower case") << u"JPEG"_s << u"jpeg"_s;
        QTest::newRow("ten characters is the limit") << u"abcdefghij"_s << u"abcdefghij"_s;
        QTest::newRow("eleven characters are refused") << u"abcdefghijk"_s << QString();
        QTest::newRow("a double extension is refused") << u"tar.gz"_s << QString();
        QTest::newRow("a path in the extension is refused") << u"/../x"_s << QString();
        QTest::newRow("an empty extension is refused") << QString() << QString();
        QTest::newRow("empty data is refused") << u"empty"_s << QString();
    }
    void extensions()
    {
        QFETCH(QString, ext);
        QFETCH(QString, storedAs);
        const std::optional<QString> id =
            store->save(ext == u"empty"_s ? QByteArray() : "bytes", ext);
        QCOMPARE(id.has_value(), !storedAs.isEmpty());
        if (!id) {
            QVERIFY(store->allIDs().isEmpty());
            return;
        }
        QVERIFY(QFile::exists(folder + u'/' + *id + u'.' + storedAs));
        QCOMPARE(store->data(*id), "bytes");
    }

    void hostileIDsReachNothing_data()
    {
        QTest::addColumn<QString>("id");
        QTest::newRow("parent folder") << u"../secret"_s;
        QTest::newRow("an underscore") << u"se_cret"_s;
        QTest::newRow("empty") << QString();
    }
    void hostileIDsReachNothing()
    {
        QFETCH(QString, id);
        // Files that a path trick would reach, beside and below the folder.
        QDir().mkpath(folder + u"/sub"_s);
        const QStringList reachable{root.filePath(u"Support/secret.png"_s),
                                    folder + u"/sub/secret.png"_s, folder + u"/se_cret.png"_s,
                                    folder + u"/.png"_s};
        for (const QString& path : reachable)
            TestFiles::write(path, pngBytes());
        QVERIFY(!store->filePath(id));
        QVERIFY(!store->data(id));
        QVERIFY(!store->image(id));
        store->deleteImages({id});
        for (const QString& path : reachable)
            QVERIFY(QFile::exists(path));
        QVERIFY(store->allIDs().isEmpty());
    }

    // Names other programs left, and one id under two extensions: png wins.
    void foreignNamesAreSkippedAndPngWins()
    {
        QDir().mkpath(folder);
        for (const QString& name :
             {u"A.png"_s, u"B-2.gif"_s, u"C"_s, u"bad_name.png"_s, u"a.b.png"_s, u".hidden"_s})
            TestFiles::write(folder + u'/' + name, "x");
        QCOMPARE(store->allIDs(), (QStringList{u"A"_s, u"B-2"_s, u"C"_s}));
        TestFiles::write(folder + u"/X.jpg"_s, "jpg");
        TestFiles::write(folder + u"/X.png"_s, "png");
        QCOMPARE(store->data(u"X"_s), QByteArray("png"));
        QVERIFY2(!store->image(u"X"_s), "undecodable bytes give no image");
        QVERIFY2(!store->data(u"a"_s), "a name with two dots belongs to no id");
        QFile::remove(folder + u"/X.png"_s);
        QCOMPARE(store->data(u"X"_s), QByteArray("jpg"));
        store->deleteImages({u"X"_s});
        QVERIFY(!QFile::exists(folder + u"/X.jpg"_s));
    }

    void bitmapsAreCappedAt2048_data()
    {
        QTest::addColumn<QSize>("given");
        QTest::addColumn<QSize>("stored");
        QTest::newRow("a wide picture is scaled down") << QSize(4096, 1024) << QSize(2048, 512);
        QTest::newRow("a tall picture is scaled down") << QSize(300, 3000) << QSize(205, 2048);
        QTest::newRow("exactly 2048 stays") << QSize(2048, 10) << QSize(2048, 10);
    }
    void bitmapsAreCappedAt2048()
    {
        QFETCH(QSize, given);
        QFETCH(QSize, stored);
        QImage image(given, QImage::Format_RGB32);
        image.fill(Qt::blue);
        const std::optional<QString> id = store->save(image);
        QVERIFY(id);
        QVERIFY(store->data(*id)->startsWith("\x89PNG"));
        QCOMPARE(store->image(*id)->size(), stored);
    }

    void aMissIsNotCached()
    {
        QVERIFY(!store->pixelSize(u"LATE"_s));
        QVERIFY(store->displayImage(u"LATE"_s, QSize(5, 6)).isNull());
        // The file arrives afterwards, as sync would bring it.
        QDir().mkpath(folder);
        TestFiles::write(folder + u"/LATE.png"_s, pngBytes(5, 6));
        QCOMPARE(store->pixelSize(u"LATE"_s), QSize(5, 6));
        QCOMPARE(store->displayImage(u"LATE"_s, QSize(5, 6)).size(), QSize(5, 6));
        store->deleteImages({u"LATE"_s});
        QVERIFY2(!store->pixelSize(u"LATE"_s), "a deleted image leaves the caches too");
        QVERIFY(store->displayImage(u"LATE"_s, QSize(5, 6)).isNull());
        QCOMPARE(store->displayCacheBytes(), 0);
    }

    // Photos are kept as they came, so a note must never decode one whole to show it: its
    // size comes from the header, and it is decoded once at the width it is painted (in steps
    // of 64), whatever its size.
    void photosDecodeAtTheSizeTheyShowNeverWhole_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QSize>("pixels"); // as the file holds them
        QTest::addColumn<QSize>("shown");  // as pixelSize answers
        QTest::addColumn<QSize>("painted");
        QTest::addColumn<QSize>("decoded"); // invalid when it cannot be
        // clang-format off
        QTest::newRow("a 12-megapixel photo decodes at its painted size") << u"jpg"_s << QSize(4000, 3000) << QSize(4000, 3000) << QSize(320, 240) << QSize(320, 240);
        QTest::newRow("a width between steps decodes at the next step") << u"jpg"_s << QSize(4000, 3000) << QSize(4000, 3000) << QSize(300, 225) << QSize(320, 240);
        QTest::newRow("a small picture is never enlarged") << u"png"_s << QSize(100, 50) << QSize(100, 50) << QSize(320, 160) << QSize(100, 50);
        QTest::newRow("a sideways photo is measured and decoded upright") << u"sideways"_s << QSize(400, 300) << QSize(300, 400) << QSize(150, 200) << QSize(192, 256);
        QTest::newRow("a 36-megapixel BMP, which only decodes whole, fits our limit") << u"bmp"_s << QSize(6000, 6000) << QSize(6000, 6000) << QSize(320, 320) << QSize(320, 320);
        QTest::newRow("a PNG with a good header and broken data decodes to nothing") << u"broken"_s << QSize(400, 300) << QSize(400, 300) << QSize(400, 300) << QSize();
        // clang-format on
    }
    void photosDecodeAtTheSizeTheyShowNeverWhole()
    {
        QFETCH(QString, kind);
        QFETCH(QSize, pixels);
        QFETCH(QSize, shown);
        QFETCH(QSize, painted);
        QFETCH(QSize, decoded);
        // A red corner top left as the file holds it, to tell which way up it shows.
        QImage picture(pixels, QImage::Format_RGB32);
        picture.fill(QColor(30, 60, 200));
        QPainter(&picture).fillRect(0, 0, pixels.width() / 4, pixels.height() / 4, Qt::red);
        const QString format = kind == u"broken"_s     ? u"png"_s
                               : kind == u"sideways"_s ? u"jpg"_s
                                                       : kind;
        QByteArray bytes = encoded(picture, format.toLatin1().constData());
        if (kind == u"sideways"_s)
            bytes = turnedByExif(bytes);
        if (kind == u"broken"_s) // the pixel data's first bytes overwritten
            bytes.replace(bytes.indexOf("IDAT") + 4, 16, QByteArray(16, '\x5A'));
        const QString id = *store->save(bytes, format);
        const QString path = *store->filePath(id);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray before =
            QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha1);
        file.close();
        QList<QSize> decodes;
        store->onDecode = [&](const QString&, QSize size) { decodes.append(size); };

        QCOMPARE(store->pixelSize(id), shown);
        QVERIFY2(decodes.isEmpty(), "the size comes from the header alone");
        const QImage image = store->displayImage(id, painted);
        QCOMPARE(image.size(), decoded.isValid() ? decoded : QSize(0, 0));
        QCOMPARE(decodes, decoded.isValid() ? QList<QSize>{decoded} : QList<QSize>{});
        QVERIFY(store->displayImage(id, painted).isNull() == !decoded.isValid());
        QCOMPARE(decodes.size(), decoded.isValid() ? 1 : 0); // once, then from the cache
        if (kind == u"sideways"_s)
            QCOMPARE(image.pixelColor(image.width() - 4, 4).red() > 200, true);
        if (decoded.isValid())
            QVERIFY(image.pixelColor(image.width() / 2, image.height() - 4).blue() > 150);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha1), before);
    }

    void theFolderIsMadeOnFirstSaveAndFailedWritesLoseNothing()
    {
        QVERIFY(!QDir(folder).exists());
        QVERIFY(store->allIDs().isEmpty());
        const QString first = *store->save(pngBytes(1, 1), u"png"_s);
        QVERIFY(QDir(folder).exists());
        files.failAfter(0);
        QVERIFY2(!store->save(pngBytes(3, 3), u"png"_s), "the second write meets a full disk");
        QCOMPARE(store->allIDs(), QStringList{first});
        QCOMPARE(store->image(first)->size(), QSize(1, 1));
        QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden).size(), 1);

        // A file where the folder should be: nothing can be made, nothing breaks.
        files.heal();
        const QString blocked = root.filePath(u"blocked"_s);
        TestFiles::write(blocked, "x");
        store.emplace(blocked + u"/Images"_s, files);
        QVERIFY(!store->save(pngBytes(), u"png"_s));
        QVERIFY(store->allIDs().isEmpty());
    }

    void pasteboardPrefersFiles_data()
    {
        QTest::addColumn<QStringList>("files"); // names inside a temporary folder
        QTest::addColumn<bool>("withBitmap");
        QTest::addColumn<QStringList>("storedExtensions");
        QTest::addColumn<bool>("fromBitmap");
        QTest::newRow("image files win over the bitmap, other files are skipped")
            << QStringList{u"notes.txt"_s, u"photo.PNG"_s} << true << QStringList{u"png"_s}
            << false;
        QTest::newRow("a file without extension is stored as png")
            << QStringList{u"noext"_s} << false << QStringList{u"png"_s} << false;
        QTest::newRow("an eleven-character extension is refused, then the bitmap counts")
            << QStringList{u"pic.abcdefghijk"_s} << true << QStringList{u"png"_s} << true;
        QTest::newRow("no image file and no bitmap gives nothing")
            << QStringList{u"notes.txt"_s} << false << QStringList{} << false;
        QTest::newRow("a bitmap alone") << QStringList{} << true << QStringList{u"png"_s} << true;
    }
    void pasteboardPrefersFiles()
    {
        QFETCH(QStringList, files);
        QFETCH(bool, withBitmap);
        QFETCH(QStringList, storedExtensions);
        QFETCH(bool, fromBitmap);
        QTemporaryDir source;
        const QByteArray png = pngBytes(3000, 20);
        QList<QUrl> urls;
        for (const QString& name : files) {
            // Every "image" holds the same PNG bytes whatever its name; the text file does not.
            TestFiles::write(source.filePath(name), name.endsWith(u".txt"_s) ? "hello" : png);
            urls.append(QUrl::fromLocalFile(source.filePath(name)));
        }
        QMimeData mime;
        if (!urls.isEmpty())
            mime.setUrls(urls);
        if (withBitmap) {
            QImage bitmap(3000, 10, QImage::Format_RGB32);
            bitmap.fill(Qt::green);
            mime.setImageData(bitmap);
        }

        QCOMPARE(ImagePasteboard::canProvideImage(&mime), !storedExtensions.isEmpty());
        QVERIFY2(store->allIDs().isEmpty(), "asking writes nothing");

        const QStringList ids = ImagePasteboard::imageIDs(&mime, *store);
        QCOMPARE(ids.size(), storedExtensions.size());
        for (qsizetype i = 0; i < ids.size(); ++i) {
            QVERIFY(store->filePath(ids[i])->endsWith(u'.' + storedExtensions[i]));
            // A bitmap is capped on the way in; a file's bytes are kept as they came.
            if (fromBitmap)
                QCOMPARE(store->image(ids[i])->width(), 2048);
            else
                QCOMPARE(store->data(ids[i]), png);
        }
    }

    void remoteURLsAreNotFiles()
    {
        QMimeData mime;
        mime.setUrls({QUrl(u"https://example.com/picture.png"_s)});
        QVERIFY(!ImagePasteboard::canProvideImage(&mime));
        mime.setData(u"image/png"_s, pngBytes(7, 7));
        QVERIFY(ImagePasteboard::canProvideImage(&mime));
        const QStringList ids = ImagePasteboard::imageIDs(&mime, *store);
        QCOMPARE(ids.size(), 1);
        QCOMPARE(store->image(ids.first())->size(), QSize(7, 7));
        QVERIFY(!ImagePasteboard::saveFile(u"/nonexistent/missing.png"_s, *store));
    }
};

QTEST_GUILESS_MAIN(TestImages)
#include "tst_images.moc"
