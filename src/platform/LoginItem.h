#pragma once

#include <QString>

#include <optional>

// Whether the program starts with the user's session.
class LoginItem {
public:
    virtual ~LoginItem() = default;
    LoginItem() = default;
    LoginItem(const LoginItem&) = delete;
    LoginItem& operator=(const LoginItem&) = delete;

    virtual bool isEnabled() const = 0;
    // Absent on success, otherwise a description of what went wrong, for the log.
    virtual std::optional<QString> enable() = 0;
    virtual std::optional<QString> disable() = 0;
};
