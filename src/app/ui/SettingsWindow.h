#pragma once

#include "app/SettingsSurface.h"

#include <QWidget>

#include <functional>
#include <vector>

class KeyboardLayout;
class QGridLayout;
class QLabel;
class SettingsModel;

// The settings: an ordinary window with five tabs (shortcuts, deck, notes, sync, updates),
// each control bound to one property of the model. It holds no decisions: every change goes
// to the model, and every change of the model is read back into the controls. Controls carry
// their property's name as their object name.
class SettingsWindow final : public QWidget, public SettingsSurface {
    Q_OBJECT

public:
    // model and layout must outlive the window.
    SettingsWindow(SettingsModel& model, const KeyboardLayout& layout, QWidget* parent = nullptr);

    // Shows the window, or brings it forward when it is open already.
    void show() override;
    bool isOpen() const override { return isVisible(); }

private:
    // The controls, read again from the model.
    void refresh();
    QWidget* shortcutsTab(const KeyboardLayout& layout);
    QWidget* deckTab();
    QWidget* notesTab();
    QWidget* syncTab();
    QWidget* updatesTab();
    void chooseSyncRoot();

    SettingsModel& model;
    std::vector<std::function<void()>> refreshers;
};
