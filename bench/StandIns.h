#pragma once

// The program's collaborators that a benchmark does not measure: settings kept in memory, no
// login item, no desktop, one display and a pointer that stays still.

#include "images/ImageStore.h"
#include "l10n/L10n.h"
#include "notes/Ink.h"
#include "notes/NoteStore.h"
#include "notes/Paths.h"
#include "notes/Store.h"
#include "platform/Defaults.h"
#include "platform/Desktop.h"
#include "platform/Displays.h"
#include "platform/LoginItem.h"
#include "platform/Pointer.h"
#include "platform/qt/QtFiles.h"
#include "platform/qt/QtScheduler.h"
#include "platform/xdg/FontconfigFonts.h"
#include "settings/Settings.h"

#include <QHash>
#include <QTemporaryDir>
#include <QVariant>

namespace StandIns {

struct MemoryDefaults final : Defaults {
    QVariant value(const QString& key) const override { return values.value(key); }
    void setValue(const QString& key, const QVariant& value) override { values[key] = value; }
    bool contains(const QString& key) const override { return values.contains(key); }
    void remove(const QString& key) override { values.remove(key); }
    QHash<QString, QVariant> values;
};

struct NoLoginItem final : LoginItem {
    bool isEnabled() const override { return false; }
    std::optional<QString> enable() override { return std::nullopt; }
    std::optional<QString> disable() override { return std::nullopt; }
};

struct NoDesktop final : Desktop {
    bool openUrl(const QUrl&) override { return false; }
};

struct OneDisplay final : Displays {
    explicit OneDisplay(QRectF frame = QRectF(0, 0, 1920, 1080))
        : frame(frame)
    {
    }
    QList<DisplayInfo> list() const override
    {
        return {{1, QStringLiteral("bench"), frame, frame, true}};
    }
    QRectF frame;
};

struct StillPointer final : Pointer {
    explicit StillPointer(QPointF at = {1910, 540})
        : at(at)
    {
    }
    QPointF location() const override { return at; }
    Qt::KeyboardModifiers modifiers() const override { return {}; }
    Qt::MouseButtons buttons() const override { return {}; }
    QPointF at;
};

// A real library of notes in a temporary folder, with the settings, fonts and language the
// surfaces read installed, and no disk errors reported.
struct NoteShelf {
    NoteShelf()
    {
        Settings::install(defaults, login);
        Ink::install(fonts);
        L10n::install(AppLanguage::English);
    }
    MemoryDefaults defaults;
    NoLoginItem login;
    FontconfigFonts fonts;
    QTemporaryDir dir;
    Paths paths{dir.path()};
    QtFiles files;
    QtScheduler scheduler;
    Store store{paths.db(), paths.key(), files};
    ImageStore images{paths.images(), files};
    NoteStore notes{store, scheduler, images, false, [](const LocalizedError&) {}};
};

} // namespace StandIns
