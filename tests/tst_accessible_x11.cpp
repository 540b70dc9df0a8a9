#include "l10n/L10n.h"
#include "support/PrivateBus.h"
#include "support/ProgramOnScreen.h"

#include <QFile>
#include <QProcess>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// A window manager, a bus and a screen reader's registry on a busy machine may each take
// seconds to answer.
constexpr int patience = 60000;

// One object of the tree as a screen reader reads it.
struct Node {
    int depth = 0;
    QString role;
    QString name;
    QStringList states;
};

// The real program on a desktop of its own, with a session bus of its own and the
// accessibility bus on it, read by a real AT-SPI client (pyatspi, as Orca uses it).
class ScreenReader {
public:
    ~ScreenReader()
    {
        if (registry.state() != QProcess::NotRunning) {
            registry.terminate();
            if (!registry.waitForFinished(10000))
                registry.kill();
            registry.waitForFinished(10000);
        }
    }

    bool start(const QStringList& titles)
    {
        if (bus.address().isEmpty())
            return false;
        desk.setVariable(u"DBUS_SESSION_BUS_ADDRESS"_s, bus.address());
        desk.setVariable(u"QT_LINUX_ACCESSIBILITY_ALWAYS_ON"_s, u"1"_s);
        desk.setVariable(u"QT_ACCESSIBILITY"_s, u"1"_s);
        desk.unsetVariable(u"AT_SPI_BUS_ADDRESS"_s);
        // The fan kept out, so that the tabs are drawn without a pointer over them.
        if (!desk.startDesktop() || !desk.writeSettings("[General]\ndeckAlwaysShown=true\n")
            || !desk.seed(titles))
            return false;
        registry.setProcessEnvironment(desk.environment());
        registry.start(u"/usr/libexec/at-spi-bus-launcher"_s, {u"--launch-immediately"_s});
        return registry.waitForStarted() && desk.startProgram();
    }

    // A later start with a link, handed to the running program.
    bool hand(const QString& url) { return desk.request(url); }

    // A key pressed on the X server, as a person's hand would.
    bool press(const QString& key) { return desk.xdotool({u"key"_s, key}); }

    // The program's tree now; empty while the client cannot find it on the bus.
    QList<Node> tree()
    {
        QProcess client;
        client.setProcessEnvironment(desk.environment());
        // Debian's pyatspi is the system interpreter's; a python3 first on the PATH may not
        // have it.
        client.start(u"/usr/bin/python3"_s, {QString::fromUtf8(PONDRIFT_SOURCE_DIR)
                                             + u"/tests/helpers/accessible_tree.py"_s});
        if (!client.waitForFinished(patience) || client.exitCode() != 0)
            return {};
        QList<Node> nodes;
        for (const QString& line : QString::fromUtf8(client.readAllStandardOutput()).split(u'\n')) {
            const QStringList f = line.split(u'\t');
            if (f.size() == 4)
                nodes.append({f[0].toInt(), f[1], f[2], f[3].split(u',', Qt::SkipEmptyParts)});
        }
        return nodes;
    }

    // Waits until the tree holds what wanted looks for, and gives that tree.
    QList<Node> waitFor(const std::function<bool(const QList<Node>&)>& wanted)
    {
        QList<Node> nodes;
        [[maybe_unused]] const bool found =
            QTest::qWaitFor([&] { return wanted(nodes = tree()); }, patience);
        return nodes;
    }

    QString output() const { return desk.traceSoFar(); }

private:
    PrivateBus bus;
    ProgramOnScreen desk{patience};
    QProcess registry;
};

bool has(const QList<Node>& nodes, const QString& role, const QString& name)
{
    return std::any_of(nodes.cbegin(), nodes.cend(),
                       [&](const Node& n) { return n.role == role && n.name == name; });
}

// The objects under the first top-level window that is, or holds, an object of that role and
// name, without the window itself.
QList<Node> windowWith(const QList<Node>& nodes, const QString& role, const QString& name)
{
    for (qsizetype i = 0; i < nodes.size(); ++i) {
        if (nodes[i].depth != 1)
            continue;
        QList<Node> inside;
        bool holds = nodes[i].role == role && nodes[i].name == name;
        for (qsizetype j = i + 1; j < nodes.size() && nodes[j].depth > 1; ++j) {
            inside.append(nodes[j]);
            holds = holds || (nodes[j].role == role && nodes[j].name == name);
        }
        if (holds)
            return inside;
    }
    return {};
}

QString describe(const Node& n)
{
    return n.role + u" \""_s + n.name + u"\" "_s + n.states.join(u',');
}

// Every control a person can reach with the keyboard must say what it is and what it is for:
// the first that does not, described; empty when all do. A blank box (a focusable filler
// with nothing inside) says nothing of what it is. The lists inside combo boxes are their
// popups, named by the box. roles collects the roles of the controls.
QString silentControl(const QList<Node>& window, QStringList& roles)
{
    int comboDepth = -1;
    for (qsizetype i = 0; i < window.size(); ++i) {
        const Node& n = window[i];
        if (comboDepth >= 0 && n.depth > comboDepth)
            continue;
        comboDepth = n.role == u"combo box"_s ? n.depth : -1;
        if (!n.states.contains(u"focusable"_s))
            continue;
        const bool leaf = i + 1 >= window.size() || window[i + 1].depth <= n.depth;
        if (n.name.isEmpty() || n.role.isEmpty() || n.role == u"unknown"_s
            || (leaf && n.role == u"filler"_s))
            return describe(n);
        roles << n.role;
    }
    return {};
}

} // namespace

// What a screen reader finds in the running program: the deck's tabs by their notes'
// titles, its buttons by what they do, and every control of the settings window and of the
// library with a name and a role it can announce.
class TestAccessible : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        L10n::install(AppLanguage::English);
        if (!QFile::exists(u"/usr/libexec/at-spi-bus-launcher"_s))
            QSKIP("the accessibility bus (at-spi2-core) is not installed");
        if (QProcess::execute(u"/usr/bin/python3"_s, {u"-c"_s, u"import pyatspi"_s}) != 0)
            QSKIP("the AT-SPI client (python3-pyatspi) is not installed");
    }

    void aScreenReaderFindsTheDeckTheSettingsAndTheLibrary()
    {
        ScreenReader reader;
        QVERIFY(reader.start({u"Groceries"_s, u"Call Anna"_s}));
        const QString plus = L10n::text(u"help.new_note"_s);
        const QString cog = L10n::text(u"help.settings"_s);
        const QList<Node> deck = reader.waitFor([&](const QList<Node>& nodes) {
            return has(nodes, u"page tab"_s, u"Groceries"_s)
                   && has(nodes, u"page tab"_s, u"Call Anna"_s)
                   && has(nodes, u"push button"_s, plus) && has(nodes, u"push button"_s, cog);
        });
        QVERIFY2(has(deck, u"page tab"_s, u"Groceries"_s), qPrintable(reader.output()));
        QVERIFY(has(deck, u"page tab"_s, u"Call Anna"_s));
        QVERIFY(has(deck, u"push button"_s, plus));
        QVERIFY(has(deck, u"push button"_s, cog));

        QVERIFY(reader.hand(u"pondrift://settings"_s));
        const QString title = L10n::text(u"settings.window_title"_s);
        const QList<Node> settings = windowWith(reader.waitFor([&](const QList<Node>& nodes) {
            return windowWith(nodes, u"filler"_s, title).size() > 50;
        }),
                                                u"filler"_s, title);
        QVERIFY2(settings.size() > 50, qPrintable(reader.output()));
        QStringList roles;
        const QString silent = silentControl(settings, roles);
        QVERIFY2(silent.isEmpty(), qPrintable(silent));
        for (const QString& role :
             {u"page tab"_s, u"push button"_s, u"check box"_s, u"combo box"_s, u"slider"_s})
            QVERIFY2(roles.contains(role), qPrintable(role));

        // The library, with a note open: its list, the note's rows and the note's own controls.
        QVERIFY(reader.hand(u"pondrift://all"_s));
        QVERIFY(!windowWith(reader.waitFor([&](const QList<Node>& nodes) {
                     return !windowWith(nodes, u"list item"_s, u"Call Anna"_s).isEmpty();
                 }),
                            u"list item"_s, u"Call Anna"_s)
                     .isEmpty());
        // Down from the search goes into the list and opens its first note.
        QVERIFY(reader.press(u"Down"_s));
        const QList<Node> library = windowWith(reader.waitFor([&](const QList<Node>& nodes) {
            const QList<Node> window = windowWith(nodes, u"list item"_s, u"Call Anna"_s);
            return has(window, u"text"_s, u"Groceries"_s) || has(window, u"text"_s, u"Call Anna"_s);
        }),
                                               u"list item"_s, u"Call Anna"_s);
        QVERIFY2(has(library, u"list item"_s, u"Groceries"_s), qPrintable(reader.output()));
        roles.clear();
        const QString quiet = silentControl(library, roles);
        QVERIFY2(quiet.isEmpty(), qPrintable(quiet));
        for (const QString& role : {u"text"_s, u"list"_s, u"push button"_s})
            QVERIFY2(roles.contains(role), qPrintable(role));
        // Of the colour dots, the note's own colour is the one checked.
        const QString dot = L10n::format(u"help.pick_colour"_s, {QString()});
        const auto chosen = std::count_if(library.cbegin(), library.cend(), [&](const Node& n) {
            return n.name.startsWith(dot) && n.states.contains(u"checked"_s);
        });
        QCOMPARE(chosen, 1);
    }
};

QTEST_MAIN(TestAccessible)
#include "tst_accessible_x11.moc"
