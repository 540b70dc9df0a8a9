#pragma once

// The settings window as the program's commands see it. There is one; opening it again brings
// it forward instead of making another.
class SettingsSurface {
public:
    virtual ~SettingsSurface() = default;

    virtual void show() = 0;
    virtual bool isOpen() const = 0;

protected:
    SettingsSurface() = default;
    SettingsSurface(const SettingsSurface&) = delete;
    SettingsSurface& operator=(const SettingsSurface&) = delete;
};
