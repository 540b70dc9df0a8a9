#include "settings/Settings.h"

#include "platform/Defaults.h"
#include "platform/Log.h"
#include "platform/LoginItem.h"

#include <cmath>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace Settings {
namespace {

Defaults* installedDefaults = nullptr;
LoginItem* installedLoginItem = nullptr;

// Caches of values read in layout and drawing paths. Each setter updates its cache before
// it writes the store.
std::optional<double> cachedDeckYRatio;
std::optional<int> cachedNoteSizeIndex;
std::optional<double> cachedDeckScale;

void dropCaches()
{
    cachedDeckYRatio.reset();
    cachedNoteSizeIndex.reset();
    cachedDeckScale.reset();
}

LoginItem& loginItem()
{
    if (!installedLoginItem)
        qFatal("Pondrift: Settings used before Settings::install");
    return *installedLoginItem;
}

bool readBool(const QString& key, bool fallback)
{
    return defaults().boolValue(key).value_or(fallback);
}

void writeBool(const QString& key, bool on) { defaults().setValue(key, on); }

Shortcut readShortcut(const QString& key, Shortcut fallback)
{
    const auto bytes = defaults().dataValue(key);
    if (!bytes)
        return fallback;
    return Shortcut::fromJson(*bytes).value_or(fallback);
}

void writeShortcut(const QString& key, const Shortcut& shortcut)
{
    defaults().setValue(key, QString::fromUtf8(shortcut.toJson()));
}

// The row of noteSizes nearest to an old width; of two equally near, the lower index.
int nearestNoteSizeIndex(double width)
{
    std::size_t best = 0;
    for (std::size_t i = 1; i < noteSizes.size(); ++i) {
        if (std::abs(noteSizes[i].width - width) < std::abs(noteSizes[best].width - width))
            best = i;
    }
    return static_cast<int>(best);
}

} // namespace

void install(Defaults& store, LoginItem& item)
{
    installedDefaults = &store;
    installedLoginItem = &item;
    dropCaches();
}

Defaults& defaults()
{
    if (!installedDefaults)
        qFatal("Pondrift: Settings used before Settings::install");
    return *installedDefaults;
}

bool showOverFullScreen() { return readBool(u"showOverFullScreen"_s, false); }
void setShowOverFullScreen(bool on) { writeBool(u"showOverFullScreen"_s, on); }

bool deckOnLeftEdge() { return readBool(u"deckOnLeftEdge"_s, false); }
void setDeckOnLeftEdge(bool on) { writeBool(u"deckOnLeftEdge"_s, on); }

double deckYRatio()
{
    if (!cachedDeckYRatio) {
        const double stored = defaults().doubleValue(u"deckYRatio"_s).value_or(0.5);
        cachedDeckYRatio = ValueRange{0, 1}.clamp(stored);
    }
    return *cachedDeckYRatio;
}

void setDeckYRatio(double ratio)
{
    const double clamped = ValueRange{0, 1}.clamp(ratio);
    cachedDeckYRatio = clamped;
    defaults().setValue(u"deckYRatio"_s, clamped);
}

QString displayTarget() { return defaults().stringValue(u"displayTarget"_s).value_or(u"all"_s); }
void setDisplayTarget(const QString& target) { defaults().setValue(u"displayTarget"_s, target); }

double noteFontSize()
{
    const auto stored = defaults().doubleValue(u"noteFontSize"_s);
    return stored && fontRange.contains(*stored) ? *stored : 13.5;
}

void setNoteFontSize(double size) { defaults().setValue(u"noteFontSize"_s, fontRange.clamp(size)); }

QString noteFontName()
{
    if (auto stored = defaults().stringValue(u"noteFontName"_s))
        return *stored;
    // Older builds had a switch between handwriting and the system font.
    if (defaults().boolValue(u"handwrittenBody"_s) == false)
        return QString();
    return u"Noteworthy-Light"_s;
}

void setNoteFontName(const QString& name) { defaults().setValue(u"noteFontName"_s, name); }

double edgeWidth()
{
    const auto stored = defaults().doubleValue(u"edgeWidth"_s);
    return stored && *stored >= 4 ? *stored : 14;
}

void setEdgeWidth(double width) { defaults().setValue(u"edgeWidth"_s, width); }

int noteSizeIndex()
{
    if (cachedNoteSizeIndex)
        return *cachedNoteSizeIndex;
    int index = 1;
    const auto stored = defaults().intValue(u"noteSizeIndex"_s);
    if (stored && *stored >= 0 && *stored < static_cast<qint64>(noteSizes.size())) {
        index = static_cast<int>(*stored);
    } else if (auto width = defaults().doubleValue(u"noteWidth"_s); width && *width > 0) {
        // Older builds stored a free width; it is read, never written back or removed.
        index = nearestNoteSizeIndex(*width);
    }
    cachedNoteSizeIndex = index;
    return index;
}

void setNoteSizeIndex(int index)
{
    const int clamped = std::clamp(index, 0, static_cast<int>(noteSizes.size()) - 1);
    cachedNoteSizeIndex = clamped;
    defaults().setValue(u"noteSizeIndex"_s, clamped);
}

QSizeF noteSize() { return noteSizes[noteSizeIndex()].size(); }

bool openOnHover() { return readBool(u"openOnHover"_s, false); }
void setOpenOnHover(bool on) { writeBool(u"openOnHover"_s, on); }

bool tabPreview() { return readBool(u"tabPreview"_s, true); }
void setTabPreview(bool on) { writeBool(u"tabPreview"_s, on); }

bool markdownStyling() { return readBool(u"markdownStyling"_s, true); }
void setMarkdownStyling(bool on) { writeBool(u"markdownStyling"_s, on); }

bool cloudSyncEnabled() { return readBool(u"cloudSyncEnabled"_s, false); }
void setCloudSyncEnabled(bool on) { writeBool(u"cloudSyncEnabled"_s, on); }

QString cloudSyncRoot() { return defaults().stringValue(u"cloudSyncRoot"_s).value_or(QString()); }
void setCloudSyncRoot(const QString& path) { defaults().setValue(u"cloudSyncRoot"_s, path); }

bool deckAlwaysShown() { return readBool(u"deckAlwaysShown"_s, false); }
void setDeckAlwaysShown(bool on) { writeBool(u"deckAlwaysShown"_s, on); }

bool deckHideActions() { return readBool(u"deckHideActions"_s, false); }
void setDeckHideActions(bool on) { writeBool(u"deckHideActions"_s, on); }

bool deckPillHidden() { return readBool(u"deckPillHidden"_s, false); }
void setDeckPillHidden(bool on) { writeBool(u"deckPillHidden"_s, on); }

QSizeF floatingNoteSize()
{
    const auto w = defaults().doubleValue(u"floatingNoteW"_s);
    const auto h = defaults().doubleValue(u"floatingNoteH"_s);
    if (w && h && *w >= 280 && *h >= 220)
        return {*w, *h};
    return noteSize();
}

void setFloatingNoteSize(QSizeF size)
{
    defaults().setValue(u"floatingNoteW"_s, size.width());
    defaults().setValue(u"floatingNoteH"_s, size.height());
}

std::optional<FloatingPlace> floatingNotePlace()
{
    const QString id = defaults().value(u"floatingNoteID"_s).toString();
    const auto x = defaults().doubleValue(u"floatingNoteX"_s);
    const auto y = defaults().doubleValue(u"floatingNoteY"_s);
    if (id.isEmpty() || !x || !y)
        return std::nullopt;
    return FloatingPlace{id, QPointF(*x, *y)};
}

void setFloatingNotePlace(const std::optional<FloatingPlace>& place)
{
    if (!place) {
        for (const QString& key : {u"floatingNoteID"_s, u"floatingNoteX"_s, u"floatingNoteY"_s})
            defaults().remove(key);
        return;
    }
    defaults().setValue(u"floatingNoteID"_s, place->noteID);
    defaults().setValue(u"floatingNoteX"_s, place->origin.x());
    defaults().setValue(u"floatingNoteY"_s, place->origin.y());
}

double deckScale()
{
    if (!cachedDeckScale) {
        const auto stored = defaults().doubleValue(u"deckScale"_s);
        cachedDeckScale = stored && deckScaleRange.contains(*stored) ? *stored : 1.0;
    }
    return *cachedDeckScale;
}

void setDeckScale(double scale)
{
    const double clamped = deckScaleRange.clamp(scale);
    cachedDeckScale = clamped;
    defaults().setValue(u"deckScale"_s, clamped);
}

DeckStyle deckStyle()
{
    const auto raw = defaults().stringValue(u"deckStyle"_s);
    return raw ? DeckStyles::fromRawValue(*raw).value_or(DeckStyle::Tabs) : DeckStyle::Tabs;
}

void setDeckStyle(DeckStyle style)
{
    defaults().setValue(u"deckStyle"_s, DeckStyles::rawValue(style));
}

AppLanguage appLanguage()
{
    // Read the way the desktop's languages are, so that a value written by hand ("EN",
    // "zh_CN") means what it says; anything else follows the system.
    const auto raw = defaults().stringValue(u"appLanguage"_s);
    if (!raw)
        return AppLanguage::System;
    return AppLanguage::resolve(QStringList{*raw});
}

void setAppLanguage(AppLanguage language)
{
    if (language == AppLanguage::System)
        defaults().remove(u"appLanguage"_s);
    else
        defaults().setValue(u"appLanguage"_s, language.rawValue());
}

bool launchAtLogin() { return loginItem().isEnabled(); }

void setLaunchAtLogin(bool on)
{
    const auto failure = on ? loginItem().enable() : loginItem().disable();
    if (failure)
        Log::line(u"launch-at-login toggle failed"_s, *failure);
}

Shortcut scNewNote() { return readShortcut(u"scNewNote"_s, {0x2D, 0x900}); }
void setScNewNote(const Shortcut& s) { writeShortcut(u"scNewNote"_s, s); }
Shortcut scAllNotes() { return readShortcut(u"scAllNotes"_s, {0x00, 0x900}); }
void setScAllNotes(const Shortcut& s) { writeShortcut(u"scAllNotes"_s, s); }
Shortcut scCapture() { return readShortcut(u"scCapture"_s, {0x31, 0x300}); }
void setScCapture(const Shortcut& s) { writeShortcut(u"scCapture"_s, s); }
Shortcut scArchive() { return readShortcut(u"scArchive"_s, {0x25, 0x900}); }
void setScArchive(const Shortcut& s) { writeShortcut(u"scArchive"_s, s); }
Shortcut scArchiveNote() { return readShortcut(u"scArchiveNote"_s, {0x00, 0x300}); }
void setScArchiveNote(const Shortcut& s) { writeShortcut(u"scArchiveNote"_s, s); }
Shortcut scClose() { return readShortcut(u"scClose"_s, {0x35, 0}); }
void setScClose(const Shortcut& s) { writeShortcut(u"scClose"_s, s); }
Shortcut scFind() { return readShortcut(u"scFind"_s, {0x03, 0x100}); }
void setScFind(const Shortcut& s) { writeShortcut(u"scFind"_s, s); }
Shortcut scTask() { return readShortcut(u"scTask"_s, {0x11, 0x100}); }
void setScTask(const Shortcut& s) { writeShortcut(u"scTask"_s, s); }
Shortcut scPin() { return readShortcut(u"scPin"_s, {0x23, 0x100}); }
void setScPin(const Shortcut& s) { writeShortcut(u"scPin"_s, s); }
Shortcut scColour() { return readShortcut(u"scColour"_s, {0x2F, 0x100}); }
void setScColour(const Shortcut& s) { writeShortcut(u"scColour"_s, s); }
Shortcut scDelete() { return readShortcut(u"scDelete"_s, {0x33, 0x100}); }
void setScDelete(const Shortcut& s) { writeShortcut(u"scDelete"_s, s); }
// Ctrl+= and Ctrl+-, as text zoom is everywhere on Linux. The Control forms would be
// Super+= and Super+-, which KDE takes for zooming the whole screen.
Shortcut scBigger() { return readShortcut(u"scBigger"_s, {0x18, Shortcut::command}); }
void setScBigger(const Shortcut& s) { writeShortcut(u"scBigger"_s, s); }
Shortcut scSmaller() { return readShortcut(u"scSmaller"_s, {0x1B, Shortcut::command}); }
void setScSmaller(const Shortcut& s) { writeShortcut(u"scSmaller"_s, s); }

} // namespace Settings
