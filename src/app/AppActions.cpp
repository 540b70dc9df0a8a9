#include "app/AppActions.h"

#include "app/AppServices.h"
#include "app/UrlScheme.h"
#include "deck/DeckController.h"
#include "deck/DeckManager.h"
#include "platform/Log.h"
#include "settings/DeckStyle.h"
#include "settings/Settings.h"
#include "surfaces/Library.h"
#include "surfaces/QuickCapture.h"
#include "surfaces/Transfers.h"

#include <cmath>
#include <optional>

using namespace Qt::Literals::StringLiterals;

AppActions::AppActions(AppServices& services, std::function<void()> quit)
    : services(services)
{
    actions.insert(u"newNote"_s, [this](const QString&) { newNote(); });
    actions.insert(u"biggerText"_s, [this](const QString&) { stepFontSize(+1.5); });
    actions.insert(u"smallerText"_s, [this](const QString&) { stepFontSize(-1.5); });
    actions.insert(u"refreshDecks"_s, [this](const QString&) { refreshDecks(); });
    actions.insert(u"quickCapture"_s, [this](const QString&) {
        if (QuickCapture* capture = this->services.quickCapture())
            capture->toggle();
        else
            Log::line(u"quick capture is not available here; the request is dropped"_s);
    });
    const auto openLibrary = [this](LibraryMode mode) {
        return [this, mode](const QString&) {
            if (Library* library = this->services.library())
                library->show(mode);
            else
                Log::line(u"the library is not available here; the request is dropped"_s);
        };
    };
    actions.insert(u"openAllNotes"_s, openLibrary(LibraryMode::all));
    actions.insert(u"openArchive"_s, openLibrary(LibraryMode::archive));
    actions.insert(u"openRecentlyDeleted"_s, openLibrary(LibraryMode::recentlyDeleted));
    actions.insert(u"quit"_s, [quit = std::move(quit)](const QString&) { quit(); });
    services.makeSettings({
        // Only the decks: the model holds what it just set.
        .refreshDecks =
            [this] {
                if (DeckManager* decks = this->services.deckManager())
                    decks->refreshAll();
            },
        .relaunchForLanguageChange =
            [this](AppLanguage previous) { this->services.relaunchForLanguageChange(previous); },
    });
    if (services.offersSettingsWindow())
        actions.insert(u"openSettings"_s,
                       [this](const QString&) { this->services.showSettings(); });
    addSettingsCommands();
    addTransferCommands();
    actions.insert(u"showAbout"_s, [this](const QString&) { this->services.showAbout(); });
    // Packages bring new versions here, so there is nothing to check: the about box tells the
    // version this is and where new ones come from.
    actions.insert(u"checkForUpdates"_s, [this](const QString&) { this->services.showAbout(); });
    actions.insert(u"toggleAutoUpdates"_s, [](const QString&) {
        Log::line(u"updates come from the system's packages; there is no automatic check"_s);
    });
}

namespace {

// "name:value" splits at the first colon; the value may hold colons of its own.
std::pair<QString, QString> split(const QString& id)
{
    const qsizetype colon = id.indexOf(u':');
    if (colon < 0)
        return {id, {}};
    return {id.left(colon), id.mid(colon + 1)};
}

std::optional<double> number(const QString& text)
{
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return value;
}

} // namespace

// The deck menu's settings. Each one that changes how a deck looks or stands ends in
// refreshDecks, so every deck shows the change at once.
void AppActions::addSettingsCommands()
{
    const auto toggle = [this](bool (*get)(), void (*set)(bool)) {
        return [this, get, set](const QString&) {
            set(!get());
            refreshDecks();
        };
    };
    actions.insert(u"toggleOverFullScreen"_s,
                   toggle(&Settings::showOverFullScreen, &Settings::setShowOverFullScreen));
    actions.insert(u"toggleDeckAlwaysShown"_s,
                   toggle(&Settings::deckAlwaysShown, &Settings::setDeckAlwaysShown));
    actions.insert(u"toggleDeckEdge"_s,
                   toggle(&Settings::deckOnLeftEdge, &Settings::setDeckOnLeftEdge));
    actions.insert(u"toggleLaunchAtLogin"_s, [this](const QString&) {
        Settings::setLaunchAtLogin(!Settings::launchAtLogin());
        if (SettingsModel* settings = this->services.settingsModel())
            settings->syncFromDefaults();
    });
    actions.insert(u"setDeckStyle"_s, [this](const QString& raw) {
        if (const std::optional<DeckStyle> style = DeckStyles::fromRawValue(raw)) {
            Settings::setDeckStyle(*style);
            refreshDecks();
        }
    });
    actions.insert(u"setNoteFont"_s, [this](const QString& name) {
        Settings::setNoteFontName(name);
        refreshDecks();
    });
    actions.insert(u"setFontSize"_s, [this](const QString& text) {
        if (const std::optional<double> size = number(text)) {
            Settings::setNoteFontSize(*size);
            refreshDecks();
        }
    });
    actions.insert(u"stepFontSize"_s, [this](const QString& text) {
        if (const std::optional<double> delta = number(text))
            stepFontSize(*delta);
    });
    actions.insert(u"setDeckScale"_s, [this](const QString& text) {
        if (const std::optional<double> scale = number(text)) {
            Settings::setDeckScale(*scale);
            refreshDecks();
        }
    });
    actions.insert(u"setDisplayTarget"_s, [this](const QString& target) {
        if (target.isEmpty())
            return;
        Settings::setDisplayTarget(target);
        refreshDecks();
    });
}

// Export takes every note, the archived ones after those in the deck, so that nothing is left
// behind in a copy meant to keep.
void AppActions::addTransferCommands()
{
    const auto exporting = [this](TransferFormat format) {
        return [this, format](const QString&) {
            Transfers* transfers = this->services.transfers();
            if (!transfers)
                return;
            QStringList ids;
            for (const QList<Note>& part :
                 {this->services.noteStore().active(), this->services.noteStore().archived()}) {
                for (const Note& note : part)
                    ids.append(note.id);
            }
            transfers->exportNotes(format, ids);
        };
    };
    actions.insert(u"exportMarkdown"_s, exporting(TransferFormat::markdown));
    actions.insert(u"exportPlainText"_s, exporting(TransferFormat::plainText));
    actions.insert(u"exportSingleFile"_s, exporting(TransferFormat::singleFile));
    actions.insert(u"exportStickies"_s, exporting(TransferFormat::stickies));
    actions.insert(u"importStickies"_s, [this](const QString&) {
        if (Transfers* transfers = this->services.transfers())
            transfers->importFiles();
    });
}

bool AppActions::run(const QString& id)
{
    const auto [name, value] = split(id);
    const auto action = actions.constFind(name);
    if (action == actions.cend())
        return false;
    (*action)(value);
    return true;
}

bool AppActions::contains(const QString& id) const { return actions.contains(split(id).first); }

QStringList AppActions::ids() const
{
    QStringList list = actions.keys();
    list.sort();
    return list;
}

// An empty note with the next colour, opened in the deck under the pointer. A library that
// could not be opened refuses it aloud, and nothing opens.
void AppActions::newNote()
{
    if (!services.notesAreOpen())
        return;
    NoteStore& notes = services.noteStore();
    const Note note = notes.create();
    if (!notes.note(note.id))
        return;
    if (DeckManager* decks = services.deckManager()) {
        if (DeckController* deck = decks->focused())
            deck->expand(note.id);
    }
}

// A note handed in from outside is taken as it is; no deck opens over whatever the person is
// doing, and the note stands in every deck. A library that cannot be written still gets the
// call, so that the person sees why; the sender hears that its text was not kept.
bool AppActions::addNote(const QString& body)
{
    if (!services.notesAreOpen())
        return false;
    NoteStore& notes = services.noteStore();
    const bool keeps = notes.isWritable();
    notes.create(body);
    return keeps;
}

void AppActions::runOrLog(const QString& id, const QString& what)
{
    if (!run(id))
        Log::line(what + u" is not available yet; the request is dropped"_s);
}

namespace {

// A URL can be a mebibyte; its start names it well enough. The reasons travel one a line, so
// a line break in the URL must not split one.
QString refusal(const QString& url, const QString& why)
{
    QString shown = url.left(80);
    for (QChar& c : shown) {
        if (c.category() == QChar::Other_Control)
            c = u' ';
    }
    return shown + (url.size() > 80 ? u"…: "_s : u": "_s) + why;
}

} // namespace

QStringList AppActions::openUrls(const QStringList& urls)
{
    QStringList refusals;
    for (const QString& url : urls) {
        const UrlScheme::Parsed parsed = UrlScheme::parse(url);
        QString why;
        if (!parsed.accepted()) {
            why = UrlScheme::describe(parsed.refusal);
        } else {
            switch (parsed.command) {
            case UrlScheme::Command::NewNote:
                if (!addNote(parsed.text))
                    why = u"the notes cannot be saved now; the text was not kept"_s;
                break;
            // Shown, never toggled: a second link must not close what the first opened.
            case UrlScheme::Command::Capture:
                if (QuickCapture* capture = services.quickCapture())
                    capture->show();
                else
                    runOrLog(u"quickCapture"_s, u"quick capture"_s);
                break;
            case UrlScheme::Command::AllNotes:
                runOrLog(u"openAllNotes"_s, u"the list of all notes"_s);
                break;
            case UrlScheme::Command::Settings:
                runOrLog(u"openSettings"_s, u"the settings window"_s);
                break;
            }
        }
        if (!why.isEmpty()) {
            refusals << refusal(url, why);
            Log::line(u"skipped a URL"_s, refusals.last());
        }
    }
    return refusals;
}

// The setter keeps the size in its range.
void AppActions::stepFontSize(double delta)
{
    Settings::setNoteFontSize(Settings::noteFontSize() + delta);
    refreshDecks();
}

// An open settings window shows what the deck's menu changed.
void AppActions::refreshDecks()
{
    if (DeckManager* decks = services.deckManager())
        decks->refreshAll();
    if (SettingsModel* settings = services.settingsModel())
        settings->syncFromDefaults();
}
