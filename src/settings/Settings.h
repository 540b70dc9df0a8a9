#pragma once

#include "l10n/AppLanguage.h"
#include "settings/DeckStyle.h"
#include "settings/Shortcut.h"

#include <QPointF>
#include <QSizeF>
#include <QString>
#include <QStringView>

#include <array>
#include <optional>

class Defaults;
class LoginItem;

struct ValueRange {
    double lower;
    double upper;
    constexpr bool contains(double v) const { return v >= lower && v <= upper; }
    constexpr double clamp(double v) const { return v < lower ? lower : (v > upper ? upper : v); }
};

// One row of a table of named choices: the localisation key of its name and its value.
struct NamedValue {
    QStringView key;
    double value;
};

struct NamedSize {
    QStringView key;
    double width;
    double height;
    QSizeF size() const { return {width, height}; }
};

// Typed access to the user's preferences, with each key's default, clamping and migration
// from older keys, and the fixed tables and timings the deck and notes share. It tells no
// one of a change: callers that must react refresh themselves.
//
// Everything reads and writes the one Defaults installed with install; the memory caches
// of deckYRatio, noteSizeIndex and deckScale belong to that store and are dropped when
// another is installed. Main thread only.
namespace Settings {

// Where preferences live and what launch at login asks. The program installs its backends
// once at start; tests install their own. REQUIRES: both outlive their installation, and
// install runs before any other call here (one without it ends the process, since a setting
// written nowhere would be lost).
void install(Defaults& defaults, LoginItem& item);
Defaults& defaults();

inline constexpr int fanLimit = 5;
inline constexpr ValueRange fontRange{10, 30};
inline constexpr ValueRange deckScaleRange{0.7, 1.8};
inline constexpr double openOnHoverDelay = 0.4;
inline constexpr double tabPreviewDelay = 0.18;
inline constexpr double cloudSyncInterval = 5;
inline constexpr double fanIdleTimeout = 4;
inline constexpr double noteIdleTimeout = 60;

inline constexpr std::array<NamedValue, 4> fontSizes{{
    {u"size.small", 12},
    {u"size.medium", 13.5},
    {u"size.large", 15.5},
    {u"size.extra_large", 18},
}};
inline constexpr std::array<NamedValue, 4> edgeWidths{{
    {u"width.narrow", 8},
    {u"width.standard", 14},
    {u"width.wide", 28},
    {u"width.very_wide", 44},
}};
// Indexed by noteSizeIndex.
inline constexpr std::array<NamedSize, 4> noteSizes{{
    {u"size.small", 400, 320},
    {u"size.medium", 460, 380},
    {u"size.large", 560, 470},
    {u"size.huge", 680, 560},
}};
inline constexpr std::array<NamedValue, 4> deckSizes{{
    {u"size.small", 0.85},
    {u"size.default", 1.0},
    {u"size.large", 1.25},
    {u"size.extra_large", 1.5},
}};

bool showOverFullScreen();
void setShowOverFullScreen(bool on);
bool deckOnLeftEdge();
void setDeckOnLeftEdge(bool on);
// 0 is the bottom of the display, 1 the top.
double deckYRatio();
void setDeckYRatio(double ratio);
// "all", "main", or "id:" and a display number.
QString displayTarget();
void setDisplayTarget(const QString& target);
double noteFontSize();
void setNoteFontSize(double size);
// A face's body font name; empty is the system font.
QString noteFontName();
void setNoteFontName(const QString& name);
double edgeWidth();
void setEdgeWidth(double width);
int noteSizeIndex();
void setNoteSizeIndex(int index);
QSizeF noteSize();
bool openOnHover();
void setOpenOnHover(bool on);
bool tabPreview();
void setTabPreview(bool on);
bool markdownStyling();
void setMarkdownStyling(bool on);
bool cloudSyncEnabled();
void setCloudSyncEnabled(bool on);
// The folder the sync folder lives in; empty lets the sync choose.
QString cloudSyncRoot();
void setCloudSyncRoot(const QString& path);
bool deckAlwaysShown();
void setDeckAlwaysShown(bool on);
bool deckHideActions();
void setDeckHideActions(bool on);
bool deckPillHidden();
void setDeckPillHidden(bool on);
QSizeF floatingNoteSize();
void setFloatingNoteSize(QSizeF size);
// The note that floated when the program last ended, and where its bottom left corner stood
// (screen coordinates, y up); absent when none floated.
struct FloatingPlace {
    QString noteID;
    QPointF origin;
    friend bool operator==(const FloatingPlace&, const FloatingPlace&) = default;
};
std::optional<FloatingPlace> floatingNotePlace();
void setFloatingNotePlace(const std::optional<FloatingPlace>& place);
double deckScale();
void setDeckScale(double scale);
DeckStyle deckStyle();
void setDeckStyle(DeckStyle style);

// Takes effect at the next start of the program.
AppLanguage appLanguage();
void setAppLanguage(AppLanguage language);

// Not stored: asks the login item. A failure to change it is logged and otherwise silent.
bool launchAtLogin();
void setLaunchAtLogin(bool on);

Shortcut scNewNote();
void setScNewNote(const Shortcut& shortcut);
Shortcut scAllNotes();
void setScAllNotes(const Shortcut& shortcut);
Shortcut scCapture();
void setScCapture(const Shortcut& shortcut);
Shortcut scArchive();
void setScArchive(const Shortcut& shortcut);
Shortcut scArchiveNote();
void setScArchiveNote(const Shortcut& shortcut);
Shortcut scClose();
void setScClose(const Shortcut& shortcut);
Shortcut scFind();
void setScFind(const Shortcut& shortcut);
Shortcut scTask();
void setScTask(const Shortcut& shortcut);
Shortcut scPin();
void setScPin(const Shortcut& shortcut);
Shortcut scColour();
void setScColour(const Shortcut& shortcut);
Shortcut scDelete();
void setScDelete(const Shortcut& shortcut);
Shortcut scBigger();
void setScBigger(const Shortcut& shortcut);
Shortcut scSmaller();
void setScSmaller(const Shortcut& shortcut);

} // namespace Settings
