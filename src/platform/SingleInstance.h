#pragma once

#include <QStringList>

#include <functional>

// One running program per user: the first start becomes the instance, every later one hands
// its request (a list of strings; the program sends pondrift: URLs) to it and ends. Two
// databases open in two processes would each save over the other's notes, so this runs before
// anything opens them. Main thread only.
class SingleInstance {
public:
    // The most a request may weigh on the way, in bytes of its encoded form: one URL with the
    // longest text a note may be given, and room for the rest.
    static constexpr qint64 maxRequestBytes = 1024 * 1024 + 4096;

    // The running instance's answer to one request: why each item it did not take was refused,
    // empty when it took them all. Items it refused are skipped; the others still run.
    using Receiver = std::function<QStringList(const QStringList& request)>;

    struct Outcome {
        enum class Kind {
            // This process is the instance now; later starts reach its receiver.
            Running,
            // The running instance took the request; this process should end successfully.
            HandedOver,
            // The running instance, or this side before sending, refused some or all of it.
            Refused,
            // An instance runs but could not be reached; nothing was handed over.
            Unreachable,
        };
        Kind kind = Kind::Running;
        // Refused: the reasons. Unreachable: what failed. Running: a warning, such as a
        // mailbox that could not be opened (the program then runs without one).
        QStringList details;
    };

    virtual ~SingleInstance() = default;

    // Becomes the instance, or hands request to the one that runs. Blocks until the running
    // instance answers or gives up waiting. Once per object.
    virtual Outcome claim(const QStringList& request) = 0;
    // Where requests of later starts go, from now on. Requests that arrived before wait, and
    // reach it in order when it is set. REQUIRES: claim gave Running.
    virtual void setReceiver(Receiver receiver) = 0;

protected:
    SingleInstance() = default;
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;
};
