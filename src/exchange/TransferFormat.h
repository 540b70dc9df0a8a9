#pragma once

// The four ways notes leave the program through files the person picks.
enum class TransferFormat {
    markdown, // one ".md" file per note in a chosen folder
    plainText, // one ".txt" file per note in a chosen folder
    singleFile, // one Markdown document for all notes
    stickies, // one archive of notes and their pictures
};
