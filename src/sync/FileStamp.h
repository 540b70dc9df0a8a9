#pragma once

#include "platform/Date.h"

#include <QtGlobal>

// What a look at a file tells of its content without reading it. The date alone does not
// tell enough: sync clients give a file the sender's date, some folders keep dates in whole
// seconds or in steps of two, and a file replaced within one such step would look untouched.
// Its length, or the time its file system last changed it (which the file system sets itself
// and no client can set back), shows the replacement.
struct FileStamp {
    Date modified;
    qint64 size = -1; // -1: not known
    Date changed;     // the last change of the file or of its status; the epoch: not known

    FileStamp() = default;
    // A stamp known only by its date, as one recorded before lengths were kept.
    FileStamp(Date modified, qint64 size = -1, Date changed = {})
        : modified(modified)
        , size(size)
        , changed(changed)
    {
    }

    friend bool operator==(const FileStamp&, const FileStamp&) = default;
};
