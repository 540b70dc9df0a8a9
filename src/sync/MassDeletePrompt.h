#pragma once

#include <functional>

// How the sync asks the user before it deletes many notes at once because their documents
// vanished from the folder (an emptied folder, a sync client gone wrong). The engine asks
// once and holds the deletions back until the answer comes.
class MassDeletePrompt {
public:
    enum class Answer {
        DeleteHere,      // the documents were removed on purpose: delete the notes here too
        RestoreToFolder, // keep the notes and write their documents back
    };

    virtual ~MassDeletePrompt() = default;
    // Calls `answer` once, on the main thread, now or later. The call may come while the
    // engine is still inside the pass that asked.
    virtual void ask(int count, std::function<void(Answer)> answer) = 0;
};
