#include "platform/xdg/XdgLoginItem.h"
#include "support/TestFiles.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// A desktop tool the test command installs; the test cannot say anything without it.
QString tool(const QString& name)
{
    const QString found = QStandardPaths::findExecutable(name);
    if (found.isEmpty())
        qFatal("%s is missing; scripts/install-deps.sh installs it", qPrintable(name));
    return found;
}

struct Run {
    int exitCode = -1;
    QString output;
};

Run run(const QString& program, const QStringList& arguments,
        const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(60000))
        return {};
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAll())};
}

} // namespace

// Launch at login as the desktops read the autostart entry.
class TestLoginItem : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // The session starts the program the entry names, wherever it was installed: the entry
    // is valid, and GLib's launcher (what GNOME's session uses) runs exactly that file.
    void theSessionStartsTheProgramAtItsPath_data()
    {
        QTest::addColumn<QString>("folder"); // where the program lies, inside a fresh folder
        QTest::newRow("a plain folder") << u"bin"_s;
        QTest::newRow("a percent sign, a space and a quote") << u"Pon drift 100% \"beta\""_s;
        QTest::newRow("a dollar, a backquote and a backslash") << u"a$HOME `b` c\\d"_s;
        QTest::newRow("a percent sign and an equals sign") << u"x=1%"_s;
        QTest::newRow("a tab and a leading hash") << u"#one\ttwo"_s;
    }
    void theSessionStartsTheProgramAtItsPath()
    {
        QFETCH(QString, folder);
        QTemporaryDir dir;
        const QString program = dir.filePath(folder + u"/pondrift"_s);
        const QString record = dir.filePath(u"started"_s);
        QVERIFY(TestFiles::write(program, "#!/bin/sh\nprintf '%s' \"$0\" > \"$RECORD\"\n"));
        QVERIFY(
            QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        const QString entry = dir.filePath(u"autostart/app.pondrift.Pondrift.desktop"_s);
        XdgLoginItem item(entry, program);
        QCOMPARE(item.enable(), std::nullopt);
        QVERIFY(item.isEnabled());
        // An icon that no installed theme has shows as a broken picture in the startup lists.
        QVERIFY(!TestFiles::read(entry).contains("\nIcon="));

        const Run validated = run(tool(u"desktop-file-validate"_s), {entry});
        QVERIFY2(validated.exitCode == 0 && !validated.output.contains(u"error"_s),
                 qPrintable(validated.output));

        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"RECORD"_s, record);
        // GLib would look for a session bus, and start one where none runs.
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"disabled:"_s);
        const Run launched = run(tool(u"gio"_s), {u"launch"_s, entry}, environment);
        QVERIFY2(launched.exitCode == 0, qPrintable(launched.output));
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(record).size() > 0, 60000);
        QCOMPARE(QString::fromUtf8(TestFiles::read(record)), program);
    }

    // Off is no entry, or an entry that a session skips.
    void onOrOff_data()
    {
        QTest::addColumn<QByteArray>("entry"); // empty: no file
        QTest::addColumn<bool>("on");
        const QByteArray head = "[Desktop Entry]\nType=Application\nExec=pondrift\n";
        QTest::newRow("no entry") << QByteArray() << false;
        QTest::newRow("an entry") << head << true;
        QTest::newRow("a hidden entry") << head + "Hidden=true\n" << false;
        QTest::newRow("an entry not hidden") << head + "Hidden=false\n" << true;
        QTest::newRow("GNOME's switch off") << head + "X-GNOME-Autostart-enabled=false\n" << false;
        QTest::newRow("GNOME's switch off, with spaces round the equals sign")
            << head + "X-GNOME-Autostart-enabled = false\n"
            << false;
        QTest::newRow("GNOME's switch on") << head + "X-GNOME-Autostart-enabled=true\n" << true;
        QTest::newRow("the switch in an action's group is not the entry's")
            << head + "[Desktop Action quit]\nX-GNOME-Autostart-enabled=false\n"
            << true;
        QTest::newRow("a commented-out switch") << head + "#X-GNOME-Autostart-enabled=false\n"
                                                << true;
    }
    void onOrOff()
    {
        QFETCH(QByteArray, entry);
        QFETCH(bool, on);
        QTemporaryDir dir;
        const QString path = dir.filePath(u"autostart/app.pondrift.Pondrift.desktop"_s);
        if (!entry.isEmpty())
            QVERIFY(TestFiles::write(path, entry));
        XdgLoginItem item(path, u"/usr/bin/pondrift"_s);
        QCOMPARE(item.isEnabled(), on);
        // Whatever was there, turning it on and off works.
        QCOMPARE(item.enable(), std::nullopt);
        QVERIFY(item.isEnabled());
        QCOMPARE(item.disable(), std::nullopt);
        QVERIFY(!item.isEnabled());
        QCOMPARE(item.disable(), std::nullopt);
    }

    void anEntryInAFolderThatCannotBeMadeIsReported()
    {
        QTemporaryDir dir;
        QVERIFY(TestFiles::write(dir.filePath(u"config"_s), "a file where the folder goes"));
        XdgLoginItem item(dir.filePath(u"config/autostart/x.desktop"_s), u"/usr/bin/pondrift"_s);
        QVERIFY(item.enable().has_value());
        QVERIFY(!item.isEnabled());
    }
};

QTEST_GUILESS_MAIN(TestLoginItem)
#include "tst_loginitem.moc"
