#include "app/Relaunch.h"

#include "app/AppServices.h"
#include "deck/DeckController.h"
#include "deck/DeckManager.h"
#include "platform/Desktop.h"
#include "platform/Files.h"
#include "platform/Log.h"
#include "settings/Settings.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {

// A new deck has not laid itself out the moment it is made; expanding a note in it at once
// would open it over a column that is still moving.
constexpr double expansionDelay = 0.15;

} // namespace

QByteArray ReloadResume::encode() const
{
    QJsonObject object{{u"settingsOpen"_s, settingsOpen}};
    if (noteID)
        object.insert(u"noteID"_s, *noteID);
    if (displayID)
        object.insert(u"displayID"_s, qint64(*displayID));
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<ReloadResume> ReloadResume::decode(const QByteArray& json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    const QJsonValue settings = object.value(u"settingsOpen"_s);
    if (!settings.isBool())
        return std::nullopt;
    ReloadResume resume{.noteID = {}, .displayID = {}, .settingsOpen = settings.toBool()};
    // A null stands for absent, as a field left out does.
    const QJsonValue note = object.value(u"noteID"_s);
    if (note.isString())
        resume.noteID = note.toString();
    else if (!note.isUndefined() && !note.isNull())
        return std::nullopt;
    const QJsonValue display = object.value(u"displayID"_s);
    if (display.isDouble()) {
        const double value = display.toDouble();
        if (value < 0 || value > std::numeric_limits<quint32>::max()
            || value != static_cast<double>(static_cast<quint32>(value)))
            return std::nullopt;
        resume.displayID = static_cast<quint32>(value);
    } else if (!display.isUndefined() && !display.isNull()) {
        return std::nullopt;
    }
    return resume;
}

void ReloadResume::save(Files& files, const QString& path, const ReloadResume& resume)
{
    if (const Files::Result written = files.write(path, resume.encode(), Files::Access::Private);
        !written)
        Log::line(u"could not write reload resume"_s, written.description());
}

std::optional<ReloadResume> ReloadResume::loadAndClear(Files& files, const QString& path)
{
    QByteArray json;
    const Files::Result read = files.read(path, json);
    clear(files, path);
    if (!read)
        return std::nullopt;
    return decode(json);
}

void ReloadResume::clear(Files& files, const QString& path) { files.remove(path); }

Relaunch::Relaunch(AppServices& services, std::function<bool()> quit)
    : services(services)
    , quit(std::move(quit))
{
}

QString Relaunch::resumePath(const QString& dataFolder) { return dataFolder + u"/resume.json"_s; }

void Relaunch::relaunchForLanguageChange(AppLanguage previous)
{
    if (relaunching)
        return;
    // No relaunch with unsaved text: the new process would not have it.
    if (services.notesAreOpen() && !services.noteStore().flushAll()) {
        putBack(previous);
        return;
    }
    relaunching = true;
    ReloadResume resume;
    if (DeckManager* decks = services.deckManager()) {
        for (const DeckController* deck : decks->decks()) {
            if (const std::optional<QString> id = deck->state().expandedID()) {
                resume.noteID = *id;
                resume.displayID = deck->displayID();
                break;
            }
        }
    }
    resume.settingsOpen = services.settingsAreOpen();
    const QString path = resumePath(services.paths().support);
    if (resume.open())
        ReloadResume::save(services.files(), path, resume);
    QString failure = services.desktop().relaunch();
    // The new process waits for this one to end; one that stays would leave it waiting in
    // vain, so a refused quit counts as a failed relaunch.
    if (failure.isEmpty() && quit())
        return;
    if (failure.isEmpty())
        failure = u"the notes could not be saved before quitting"_s;
    Log::line(u"language-change relaunch failed"_s, failure);
    ReloadResume::clear(services.files(), path);
    putBack(previous);
    relaunching = false;
}

void Relaunch::putBack(AppLanguage previous)
{
    Settings::setAppLanguage(previous);
    if (SettingsModel* model = services.settingsModel())
        model->syncFromDefaults();
}

void Relaunch::restoreAfterLanguageRelaunch()
{
    const std::optional<ReloadResume> resume =
        ReloadResume::loadAndClear(services.files(), resumePath(services.paths().support));
    if (!resume || !resume->open())
        return;
    if (resume->noteID && services.notesAreOpen() && services.noteStore().note(*resume->noteID)) {
        const QString id = *resume->noteID;
        const quint32 display = resume->displayID.value_or(0);
        expansion = services.scheduler().after(expansionDelay, [this, id, display] {
            DeckManager* decks = services.deckManager();
            if (!decks)
                return;
            // The display may be gone since: the deck under the pointer takes the note.
            DeckController* deck = decks->deck(display);
            if (!deck)
                deck = decks->focused();
            if (deck)
                deck->expand(id);
        });
    }
    if (resume->settingsOpen)
        services.showSettings();
}
