#pragma once

#include <QString>

#include <memory>

class LocalizedError;
class QMessageBox;

// The alert for a storage failure: a warning that names the failure and says what to do.
// The note store decides when to alert (once per distinct message); this only shows it.
class StorageErrorDialog final {
public:
    // Queues the alert on the main thread's event loop and runs it modally, in front.
    static void show(const LocalizedError& error);
    // The alert for a failure and what to do about it, not yet shown.
    static std::unique_ptr<QMessageBox> build(const QString& description, const QString& advice);
};
