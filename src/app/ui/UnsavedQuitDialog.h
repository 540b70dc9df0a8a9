#pragma once

#include "app/AppLifecycle.h"

#include <memory>

class QMessageBox;

// The question a quit asks when notes could not be saved: the reason, the notes whose
// changes would be lost, and try again, quit without saving, or stay.
class UnsavedQuitDialog final {
public:
    // Runs the question modally, in front of everything.
    static QuitChoice ask(const UnsavedWork& work);
    // The question, not yet shown; its buttons carry their choice in the "choice" property.
    static std::unique_ptr<QMessageBox> build(const UnsavedWork& work);
};
