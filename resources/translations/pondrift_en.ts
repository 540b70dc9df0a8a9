<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name></name>
    <message id="about.body">
        <source>Sticky notes that wait at the edge of your screen.

Your notes stay on this computer, encrypted.</source>
        <translation>Sticky notes that wait at the edge of your screen.

Your notes stay on this computer, encrypted.</translation>
    </message>
    <message id="about.licence">
        <source>© 2026 The Pondrift developers. All rights reserved.</source>
        <translation>© 2026 The Pondrift developers. All rights reserved.</translation>
    </message>
    <message id="action.archive">
        <source>Archive</source>
        <translation>Archive</translation>
    </message>
    <message id="action.close">
        <source>Close</source>
        <translation>Close</translation>
    </message>
    <message id="action.cycle_colour">
        <source>Next Color</source>
        <translation>Next Color</translation>
    </message>
    <message id="action.delete">
        <source>Delete</source>
        <translation>Delete</translation>
    </message>
    <message id="action.find">
        <source>Find</source>
        <translation>Find</translation>
    </message>
    <message id="action.pin">
        <source>Pin</source>
        <translation>Pin</translation>
    </message>
    <message id="action.restore">
        <source>Restore</source>
        <translation>Restore</translation>
    </message>
    <message id="action.undo">
        <source>Undo</source>
        <translation>Undo</translation>
    </message>
    <message id="action.unpin">
        <source>Unpin</source>
        <translation>Unpin</translation>
    </message>
    <message id="capture.hint">
        <source>Enter to save · Shift+Enter for a new line · Esc to close</source>
        <translation>Enter to save · Shift+Enter for a new line · Esc to close</translation>
    </message>
    <message id="capture.title">
        <source>Quick Note</source>
        <translation>Quick Note</translation>
    </message>
    <message id="color.lemon">
        <source>Lemon</source>
        <translation>Lemon</translation>
    </message>
    <message id="color.lilac">
        <source>Lilac</source>
        <translation>Lilac</translation>
    </message>
    <message id="color.mint">
        <source>Mint</source>
        <translation>Mint</translation>
    </message>
    <message id="color.peach">
        <source>Peach</source>
        <translation>Peach</translation>
    </message>
    <message id="color.rose">
        <source>Rose</source>
        <translation>Rose</translation>
    </message>
    <message id="color.sand">
        <source>Sand</source>
        <translation>Sand</translation>
    </message>
    <message id="color.sky">
        <source>Sky</source>
        <translation>Sky</translation>
    </message>
    <message id="color.slate">
        <source>Slate</source>
        <translation>Slate</translation>
    </message>
    <message id="date.days_ago" numerus="yes">
        <source>%n days ago</source>
        <translation>
            <numerusform>%n day ago</numerusform>
            <numerusform>%n days ago</numerusform>
        </translation>
    </message>
    <message id="date.hours_ago" numerus="yes">
        <source>%n hr ago</source>
        <translation>
            <numerusform>%n hr ago</numerusform>
            <numerusform>%n hr ago</numerusform>
        </translation>
    </message>
    <message id="date.just_now">
        <source>just now</source>
        <translation>just now</translation>
    </message>
    <message id="date.minutes_ago" numerus="yes">
        <source>%n min ago</source>
        <translation>
            <numerusform>%n min ago</numerusform>
            <numerusform>%n min ago</numerusform>
        </translation>
    </message>
    <message id="date.months_ago" numerus="yes">
        <source>%n mo ago</source>
        <translation>
            <numerusform>%n mo ago</numerusform>
            <numerusform>%n mo ago</numerusform>
        </translation>
    </message>
    <message id="date.weeks_ago" numerus="yes">
        <source>%n wk ago</source>
        <translation>
            <numerusform>%n wk ago</numerusform>
            <numerusform>%n wk ago</numerusform>
        </translation>
    </message>
    <message id="date.years_ago" numerus="yes">
        <source>%n yr ago</source>
        <translation>
            <numerusform>%n yr ago</numerusform>
            <numerusform>%n yr ago</numerusform>
        </translation>
    </message>
    <message id="deck_style.colour_chips">
        <source>Color Chips</source>
        <translation>Color Chips</translation>
    </message>
    <message id="deck_style.labelled_tabs">
        <source>Labeled Tabs</source>
        <translation>Labeled Tabs</translation>
    </message>
    <message id="direction.auto_short">
        <source>Auto</source>
        <translation>Auto</translation>
    </message>
    <message id="direction.automatic">
        <source>Automatic</source>
        <translation>Automatic</translation>
    </message>
    <message id="direction.left_to_right">
        <source>Left to Right</source>
        <translation>Left to Right</translation>
    </message>
    <message id="direction.right_to_left">
        <source>Right to Left</source>
        <translation>Right to Left</translation>
    </message>
    <message id="display.all">
        <source>All Displays</source>
        <translation>All Displays</translation>
    </message>
    <message id="display.main">
        <source>Main Display</source>
        <translation>Main Display</translation>
    </message>
    <message id="display.named_main">
        <source>%1 (Main)</source>
        <translation>%1 (Main)</translation>
    </message>
    <message id="edge.left">
        <source>Left</source>
        <translation>Left</translation>
    </message>
    <message id="edge.right">
        <source>Right</source>
        <translation>Right</translation>
    </message>
    <message id="export.archive_filename">
        <source>Pondrift Notes %1.stickies</source>
        <translation>Pondrift Notes %1.stickies</translation>
    </message>
    <message id="export.choose_folder" numerus="yes">
        <source>Choose a folder for %n notes in %1 format.</source>
        <translation>
            <numerusform>Choose a folder for %n note in %1 format.</numerusform>
            <numerusform>Choose a folder for %n notes in %1 format.</numerusform>
        </translation>
    </message>
    <message id="export.default_note_name">
        <source>Note %1</source>
        <translation>Note %1</translation>
    </message>
    <message id="export.document_title">
        <source>Pondrift Notes</source>
        <translation>Pondrift Notes</translation>
    </message>
    <message id="export.empty_body">
        <source>There are no notes to export.</source>
        <translation>There are no notes to export.</translation>
    </message>
    <message id="export.empty_title">
        <source>Nothing to Export</source>
        <translation>Nothing to Export</translation>
    </message>
    <message id="export.failed_title">
        <source>Export Failed</source>
        <translation>Export Failed</translation>
    </message>
    <message id="export.here">
        <source>Export Here</source>
        <translation>Export Here</translation>
    </message>
    <message id="export.incomplete_body">
        <source>Only %1 of %2 were exported. The rest couldn’t be written to the folder.</source>
        <translation>Only %1 of %2 were exported. The rest couldn’t be written to the folder.</translation>
    </message>
    <message id="export.incomplete_title">
        <source>Some Notes Weren’t Exported</source>
        <translation>Some Notes Weren’t Exported</translation>
    </message>
    <message id="export.markdown_filename">
        <source>Pondrift Notes %1.md</source>
        <translation>Pondrift Notes %1.md</translation>
    </message>
    <message id="export.markdown_per_note">
        <source>Markdown Files…</source>
        <translation>Markdown Files…</translation>
    </message>
    <message id="export.metadata">
        <source>%1 · created %2 · modified %3%4</source>
        <translation>%1 · created %2 · modified %3%4</translation>
    </message>
    <message id="export.metadata_archived_suffix">
        <source> · archived</source>
        <translation> · archived</translation>
    </message>
    <message id="export.plain_per_note">
        <source>Plain Text Files…</source>
        <translation>Plain Text Files…</translation>
    </message>
    <message id="export.single_document">
        <source>Single Markdown Document…</source>
        <translation>Single Markdown Document…</translation>
    </message>
    <message id="export.sticky_archive">
        <source>Pondrift Archive…</source>
        <translation>Pondrift Archive…</translation>
    </message>
    <message id="find.next">
        <source>Next Match</source>
        <translation>Next Match</translation>
    </message>
    <message id="find.previous">
        <source>Previous Match</source>
        <translation>Previous Match</translation>
    </message>
    <message id="font.system">
        <source>System</source>
        <translation>System</translation>
    </message>
    <message id="help.cycle_colour">
        <source>Change Color</source>
        <translation>Change Color</translation>
    </message>
    <message id="help.find">
        <source>Find in Note</source>
        <translation>Find in Note</translation>
    </message>
    <message id="help.new_note">
        <source>New Note</source>
        <translation>New Note</translation>
    </message>
    <message id="help.pick_colour">
        <source>Choose Color</source>
        <translation>Choose Color</translation>
    </message>
    <message id="help.pin">
        <source>Pin to Top</source>
        <translation>Pin to Top</translation>
    </message>
    <message id="help.settings">
        <source>Settings</source>
        <translation>Settings</translation>
    </message>
    <message id="help.task">
        <source>Add or Remove Checkbox</source>
        <translation>Add or Remove Checkbox</translation>
    </message>
    <message id="help.text_direction">
        <source>Text Direction</source>
        <translation>Text Direction</translation>
    </message>
    <message id="help.unpin">
        <source>Unpin</source>
        <translation>Unpin</translation>
    </message>
    <message id="import.added" numerus="yes">
        <source>%n notes were added.</source>
        <translation>
            <numerusform>%n note was added.</numerusform>
            <numerusform>%n notes were added.</numerusform>
        </translation>
    </message>
    <message id="import.choose_files">
        <source>Choose text or Markdown files, or a Pondrift archive, to import.</source>
        <translation>Choose text or Markdown files, or a Pondrift archive, to import.</translation>
    </message>
    <message id="import.complete_title">
        <source>Import Complete</source>
        <translation>Import Complete</translation>
    </message>
    <message id="import.invalid_archive">
        <source>This archive comes from a version of Pondrift that this one can’t read.</source>
        <translation>This archive comes from a version of Pondrift that this one can’t read.</translation>
    </message>
    <message id="import.problems_body">
        <source>%1 These couldn’t be imported: %2</source>
        <translation>%1 These couldn’t be imported: %2</translation>
    </message>
    <message id="import.problems_title">
        <source>Some Files Couldn’t Be Imported</source>
        <translation>Some Files Couldn’t Be Imported</translation>
    </message>
    <message id="key.escape">
        <source>Esc</source>
        <translation>Esc</translation>
    </message>
    <message id="key.space">
        <source>Space</source>
        <translation>Space</translation>
    </message>
    <message id="key.unknown">
        <source>Key %1</source>
        <translation>Key %1</translation>
    </message>
    <message id="language.english">
        <source>English</source>
        <translation>English</translation>
    </message>
    <message id="language.simplified_chinese">
        <source>简体中文</source>
        <translation>简体中文</translation>
    </message>
    <message id="language.system">
        <source>System Default</source>
        <translation>System Default</translation>
    </message>
    <message id="library.all_notes">
        <source>All Notes</source>
        <translation>All Notes</translation>
    </message>
    <message id="library.archive">
        <source>Archive</source>
        <translation>Archive</translation>
    </message>
    <message id="library.no_archive">
        <source>No archived notes</source>
        <translation>No archived notes</translation>
    </message>
    <message id="library.no_trash">
        <source>Nothing was deleted by sync in the last 30 days</source>
        <translation>Nothing was deleted by sync in the last 30 days</translation>
    </message>
    <message id="library.recently_deleted">
        <source>Recently Deleted</source>
        <translation>Recently Deleted</translation>
    </message>
    <message id="library.restore_failed">
        <source>“%1” could not be restored.</source>
        <translation>“%1” could not be restored.</translation>
    </message>
    <message id="library.restore_failed_help">
        <source>Its file in the trash could not be read, or the note could not be saved. The file is kept; nothing was lost.</source>
        <translation>Its file in the trash could not be read, or the note could not be saved. The file is kept; nothing was lost.</translation>
    </message>
    <message id="library.no_matches">
        <source>No matching notes</source>
        <translation>No matching notes</translation>
    </message>
    <message id="library.no_notes">
        <source>No notes yet</source>
        <translation>No notes yet</translation>
    </message>
    <message id="library.search_placeholder">
        <source>Search</source>
        <translation>Search</translation>
    </message>
    <message id="library.select_note">
        <source>Select a note</source>
        <translation>Select a note</translation>
    </message>
    <message id="menu.about">
        <source>About Pondrift</source>
        <translation>About Pondrift</translation>
    </message>
    <message id="menu.all_notes">
        <source>All Notes</source>
        <translation>All Notes</translation>
    </message>
    <message id="menu.archive">
        <source>Archive</source>
        <translation>Archive</translation>
    </message>
    <message id="menu.bigger_text">
        <source>Bigger Text</source>
        <translation>Bigger Text</translation>
    </message>
    <message id="menu.check_automatically">
        <source>Check for Updates Automatically</source>
        <translation>Check for Updates Automatically</translation>
    </message>
    <message id="menu.check_for_updates">
        <source>Check for Updates…</source>
        <translation>Check for Updates…</translation>
    </message>
    <message id="menu.copy">
        <source>Copy</source>
        <translation>Copy</translation>
    </message>
    <message id="menu.cut">
        <source>Cut</source>
        <translation>Cut</translation>
    </message>
    <message id="menu.deck_size">
        <source>Deck Size</source>
        <translation>Deck Size</translation>
    </message>
    <message id="menu.deck_style">
        <source>Deck Style</source>
        <translation>Deck Style</translation>
    </message>
    <message id="menu.display">
        <source>Display</source>
        <translation>Display</translation>
    </message>
    <message id="menu.dock_left">
        <source>Dock on Left Edge</source>
        <translation>Dock on Left Edge</translation>
    </message>
    <message id="menu.edit">
        <source>Edit</source>
        <translation>Edit</translation>
    </message>
    <message id="menu.export">
        <source>Export</source>
        <translation>Export</translation>
    </message>
    <message id="menu.hide">
        <source>Hide Pondrift</source>
        <translation>Hide Pondrift</translation>
    </message>
    <message id="menu.import">
        <source>Import…</source>
        <translation>Import…</translation>
    </message>
    <message id="menu.insert_image">
        <source>Insert Image…</source>
        <translation>Insert Image…</translation>
    </message>
    <message id="menu.keep_deck_open">
        <source>Keep Deck Open</source>
        <translation>Keep Deck Open</translation>
    </message>
    <message id="menu.launch_at_login">
        <source>Open at Login</source>
        <translation>Open at Login</translation>
    </message>
    <message id="menu.new_note">
        <source>New Note</source>
        <translation>New Note</translation>
    </message>
    <message id="menu.note_font">
        <source>Note Font</source>
        <translation>Note Font</translation>
    </message>
    <message id="menu.paste">
        <source>Paste</source>
        <translation>Paste</translation>
    </message>
    <message id="menu.quit">
        <source>Quit Pondrift</source>
        <translation>Quit Pondrift</translation>
    </message>
    <message id="menu.redo">
        <source>Redo</source>
        <translation>Redo</translation>
    </message>
    <message id="menu.select_all">
        <source>Select All</source>
        <translation>Select All</translation>
    </message>
    <message id="menu.settings">
        <source>Settings…</source>
        <translation>Settings…</translation>
    </message>
    <message id="menu.show_over_fullscreen">
        <source>Show Over Full-Screen Apps</source>
        <translation>Show Over Full-Screen Apps</translation>
    </message>
    <message id="menu.smaller_text">
        <source>Smaller Text</source>
        <translation>Smaller Text</translation>
    </message>
    <message id="menu.text_size">
        <source>Text Size</source>
        <translation>Text Size</translation>
    </message>
    <message id="menu.undo">
        <source>Undo</source>
        <translation>Undo</translation>
    </message>
    <message id="migration.panel_open">
        <source>Copy Notes</source>
        <translation>Copy Notes</translation>
    </message>
    <message id="migration.panel_prompt">
        <source>To bring over the notes of an earlier version, select its Pondrift folder and click Copy Notes.</source>
        <translation>To bring over the notes of an earlier version, select its Pondrift folder and click Copy Notes.</translation>
    </message>
    <message id="note.edited">
        <source>Edited %1</source>
        <translation>Edited %1</translation>
    </message>
    <message id="note.empty">
        <source>Empty note</source>
        <translation>Empty note</translation>
    </message>
    <message id="note.find_placeholder">
        <source>Find in note</source>
        <translation>Find in note</translation>
    </message>
    <message id="note.new_tab">
        <source>New note</source>
        <translation>New note</translation>
    </message>
    <message id="note.not_saved">
        <source>Not saved</source>
        <translation>Not saved</translation>
    </message>
    <message id="note.saved">
        <source>Saved %1</source>
        <translation>Saved %1</translation>
    </message>
    <message id="note.title_prompt">
        <source>Title</source>
        <translation>Title</translation>
    </message>
    <message id="note.title_reset">
        <source>Use First Line as Title</source>
        <translation>Use First Line as Title</translation>
    </message>
    <message id="note.untitled">
        <source>Untitled</source>
        <translation>Untitled</translation>
    </message>
    <message id="notes.count" numerus="yes">
        <source>%n notes</source>
        <translation>
            <numerusform>%n note</numerusform>
            <numerusform>%n notes</numerusform>
        </translation>
    </message>
    <message id="notes.more" numerus="yes">
        <source>%n more notes</source>
        <translation>
            <numerusform>%n more note</numerusform>
            <numerusform>%n more notes</numerusform>
        </translation>
    </message>
    <message id="quit.unsaved.lost">
        <source>If you quit now, the latest changes to these notes are lost:</source>
        <translation>If you quit now, the latest changes to these notes are lost:</translation>
    </message>
    <message id="quit.unsaved.more" numerus="yes">
        <source>and %n more</source>
        <translation>
            <numerusform>and %n more</numerusform>
            <numerusform>and %n more</numerusform>
        </translation>
    </message>
    <message id="quit.unsaved.quit">
        <source>Quit Without Saving</source>
        <translation>Quit Without Saving</translation>
    </message>
    <message id="quit.unsaved.stay">
        <source>Stay</source>
        <translation>Stay</translation>
    </message>
    <message id="quit.unsaved.title">
        <source>Your notes could not be saved</source>
        <translation>Your notes could not be saved</translation>
    </message>
    <message id="quit.unsaved.try_again">
        <source>Try Again</source>
        <translation>Try Again</translation>
    </message>
    <message id="settings.deck.caption">
        <source>Where the deck sits and how it behaves.</source>
        <translation>Where the deck sits and how it behaves.</translation>
    </message>
    <message id="settings.deck.detection_area">
        <source>Edge zone</source>
        <translation>Edge zone</translation>
    </message>
    <message id="settings.deck.detection_help">
        <source>How close to the edge the pointer must come to bring out the deck.</source>
        <translation>How close to the edge the pointer must come to bring out the deck.</translation>
    </message>
    <message id="settings.deck.display">
        <source>Display</source>
        <translation>Display</translation>
    </message>
    <message id="settings.deck.drag_help">
        <source>Tip: drag the strip at the edge up or down to move the deck along it.</source>
        <translation>Tip: drag the strip at the edge up or down to move the deck along it.</translation>
    </message>
    <message id="settings.deck.edge">
        <source>Screen edge</source>
        <translation>Screen edge</translation>
    </message>
    <message id="settings.deck.hide_actions">
        <source>Hide buttons</source>
        <translation>Hide buttons</translation>
    </message>
    <message id="settings.deck.hide_actions_help">
        <source>Hides the New Note and Settings buttons while the deck stays open.</source>
        <translation>Hides the New Note and Settings buttons while the deck stays open.</translation>
    </message>
    <message id="settings.deck.hide_pill">
        <source>Hide the edge strip</source>
        <translation>Hide the edge strip</translation>
    </message>
    <message id="settings.deck.hide_pill_help">
        <source>The deck still opens when the pointer reaches the edge.</source>
        <translation>The deck still opens when the pointer reaches the edge.</translation>
    </message>
    <message id="settings.deck.hover_open">
        <source>Open notes on hover</source>
        <translation>Open notes on hover</translation>
    </message>
    <message id="settings.deck.hover_open_help">
        <source>Rest the pointer on a tab to open its note, no click needed.</source>
        <translation>Rest the pointer on a tab to open its note, no click needed.</translation>
    </message>
    <message id="settings.deck.hover_preview">
        <source>Preview on hover</source>
        <translation>Preview on hover</translation>
    </message>
    <message id="settings.deck.hover_preview_help">
        <source>Shows the start of a note when the pointer rests on its tab.</source>
        <translation>Shows the start of a note when the pointer rests on its tab.</translation>
    </message>
    <message id="settings.deck.keep_open">
        <source>Keep deck open</source>
        <translation>Keep deck open</translation>
    </message>
    <message id="settings.deck.keep_open_help">
        <source>The tabs stay out even while you work in other apps.</source>
        <translation>The tabs stay out even while you work in other apps.</translation>
    </message>
    <message id="settings.deck.language">
        <source>Language</source>
        <translation>Language</translation>
    </message>
    <message id="settings.deck.language_help">
        <source>Pondrift restarts to change the language.</source>
        <translation>Pondrift restarts to change the language.</translation>
    </message>
    <message id="settings.deck.size">
        <source>Size</source>
        <translation>Size</translation>
    </message>
    <message id="settings.deck.size_help">
        <source>Scales the tabs and buttons of the deck.</source>
        <translation>Scales the tabs and buttons of the deck.</translation>
    </message>
    <message id="settings.deck.style">
        <source>Style</source>
        <translation>Style</translation>
    </message>
    <message id="settings.deck.tab">
        <source>Deck</source>
        <translation>Deck</translation>
    </message>
    <message id="settings.notes.caption">
        <source>How your notes look.</source>
        <translation>How your notes look.</translation>
    </message>
    <message id="settings.notes.font">
        <source>Font</source>
        <translation>Font</translation>
    </message>
    <message id="settings.notes.font_size_value">
        <source>%1 pt</source>
        <translation>%1 pt</translation>
    </message>
    <message id="settings.notes.markdown">
        <source>Style Markdown as you type</source>
        <translation>Style Markdown as you type</translation>
    </message>
    <message id="settings.notes.markdown_help">
        <source>Headings, bold text and lists show as they will look; the markup shows only on the line you’re editing.</source>
        <translation>Headings, bold text and lists show as they will look; the markup shows only on the line you’re editing.</translation>
    </message>
    <message id="settings.notes.note_size">
        <source>Note size</source>
        <translation>Note size</translation>
    </message>
    <message id="settings.notes.tab">
        <source>Notes</source>
        <translation>Notes</translation>
    </message>
    <message id="settings.notes.text_size">
        <source>Text size</source>
        <translation>Text size</translation>
    </message>
    <message id="settings.shortcuts.caption">
        <source>Global shortcuts work in any app; note shortcuts work while a note is open.</source>
        <translation>Global shortcuts work in any app; note shortcuts work while a note is open.</translation>
    </message>
    <message id="settings.shortcuts.global">
        <source>Global</source>
        <translation>Global</translation>
    </message>
    <message id="settings.shortcuts.hint">
        <source>Click a shortcut, then press the new keys. Backspace clears it; Esc keeps the old one.</source>
        <translation>Click a shortcut, then press the new keys. Backspace clears it; Esc keeps the old one.</translation>
    </message>
    <message id="settings.shortcuts.in_note">
        <source>In a Note</source>
        <translation>In a Note</translation>
    </message>
    <message id="settings.shortcuts.tab">
        <source>Shortcuts</source>
        <translation>Shortcuts</translation>
    </message>
    <message id="settings.sync.caption">
        <source>Keep a copy of every note as a Markdown file in a synced folder.</source>
        <translation>Keep a copy of every note as a Markdown file in a synced folder.</translation>
    </message>
    <message id="settings.sync.enable">
        <source>Sync notes to a folder</source>
        <translation>Sync notes to a folder</translation>
    </message>
    <message id="settings.sync.enable_help">
        <source>Each note becomes a plain Markdown file that your other devices and apps can read. The files aren’t encrypted, and images stay on this computer.</source>
        <translation>Each note becomes a plain Markdown file that your other devices and apps can read. The files aren’t encrypted, and images stay on this computer.</translation>
    </message>
    <message id="settings.sync.folder">
        <source>Folder</source>
        <translation>Folder</translation>
    </message>
    <message id="settings.sync.reveal">
        <source>Show in File Manager</source>
        <translation>Show in File Manager</translation>
    </message>
    <message id="settings.sync.status">
        <source>Status</source>
        <translation>Status</translation>
    </message>
    <message id="settings.sync.status_last">
        <source>Last synced %1</source>
        <translation>Last synced %1</translation>
    </message>
    <message id="settings.sync.status_never">
        <source>Not synced yet</source>
        <translation>Not synced yet</translation>
    </message>
    <message id="settings.sync.status_no_folder">
        <source>No folder chosen</source>
        <translation>No folder chosen</translation>
    </message>
    <message id="settings.sync.status_notes_unreadable">
        <source>Waiting: your notes can’t be read, so nothing is synced</source>
        <translation>Waiting: your notes can’t be read, so nothing is synced</translation>
    </message>
    <message id="settings.sync.status_unlisted">
        <source>Waiting: the folder’s contents can’t be listed</source>
        <translation>Waiting: the folder’s contents can’t be listed</translation>
    </message>
    <message id="settings.sync.choose">
        <source>Choose…</source>
        <translation>Choose…</translation>
    </message>
    <message id="settings.sync.choose_title">
        <source>Choose the Folder Your Sync App Carries</source>
        <translation>Choose the Folder Your Sync App Carries</translation>
    </message>
    <message id="settings.sync.folder_help">
        <source>Notes go into a Pondrift folder inside the folder you choose, such as your Nextcloud, Dropbox or Syncthing folder. Changing it copies every note there and deletes nothing.</source>
        <translation>Notes go into a Pondrift folder inside the folder you choose, such as your Nextcloud, Dropbox or Syncthing folder. Changing it copies every note there and deletes nothing.</translation>
    </message>
    <message id="settings.sync.status_off">
        <source>Off</source>
        <translation>Off</translation>
    </message>
    <message id="settings.sync.status_unavailable">
        <source>Folder unavailable</source>
        <translation>Folder unavailable</translation>
    </message>
    <message id="settings.sync.sync_now">
        <source>Sync Now</source>
        <translation>Sync Now</translation>
    </message>
    <message id="settings.sync.tab">
        <source>Sync</source>
        <translation>Sync</translation>
    </message>
    <message id="settings.sync.unavailable_help">
        <source>No sync folder is available. Make sure the folder exists and can be written to.</source>
        <translation>No sync folder is available. Make sure the folder exists and can be written to.</translation>
    </message>
    <message id="settings.updates.automatic">
        <source>Check for updates automatically</source>
        <translation>Check for updates automatically</translation>
    </message>
    <message id="settings.updates.caption">
        <source>Keep Pondrift up to date.</source>
        <translation>Keep Pondrift up to date.</translation>
    </message>
    <message id="settings.updates.check_now">
        <source>Check Now</source>
        <translation>Check Now</translation>
    </message>
    <message id="settings.updates.privacy">
        <source>A check sends only the version of Pondrift. Nothing about your notes leaves this computer.</source>
        <translation>A check sends only the version of Pondrift. Nothing about your notes leaves this computer.</translation>
    </message>
    <message id="settings.updates.tab">
        <source>Updates</source>
        <translation>Updates</translation>
    </message>
    <message id="settings.updates.this_copy">
        <source>Installed version</source>
        <translation>Installed version</translation>
    </message>
    <message id="settings.updates.version">
        <source>Version %1 (%2)</source>
        <translation>Version %1 (%2)</translation>
    </message>
    <message id="settings.window_title">
        <source>Pondrift Settings</source>
        <translation>Pondrift Settings</translation>
    </message>
    <message id="shortcut.all_notes">
        <source>All notes</source>
        <translation>All notes</translation>
    </message>
    <message id="shortcut.archive_note">
        <source>Archive note</source>
        <translation>Archive note</translation>
    </message>
    <message id="shortcut.archive_window">
        <source>Archive</source>
        <translation>Archive</translation>
    </message>
    <message id="shortcut.duplicate">
        <source>Another command uses this shortcut too.</source>
        <translation>Another command uses this shortcut too.</translation>
    </message>
    <message id="shortcut.new_note">
        <source>New note</source>
        <translation>New note</translation>
    </message>
    <message id="shortcut.press_keys">
        <source>Press keys…</source>
        <translation>Press keys…</translation>
    </message>
    <message id="shortcut.quick_capture">
        <source>Quick note</source>
        <translation>Quick note</translation>
    </message>
    <message id="shortcut.toggle_task">
        <source>Add or remove checkbox</source>
        <translation>Add or remove checkbox</translation>
    </message>
    <message id="size.default">
        <source>Default</source>
        <translation>Default</translation>
    </message>
    <message id="size.extra_large">
        <source>Extra Large</source>
        <translation>Extra Large</translation>
    </message>
    <message id="size.huge">
        <source>Huge</source>
        <translation>Huge</translation>
    </message>
    <message id="size.large">
        <source>Large</source>
        <translation>Large</translation>
    </message>
    <message id="size.medium">
        <source>Medium</source>
        <translation>Medium</translation>
    </message>
    <message id="size.small">
        <source>Small</source>
        <translation>Small</translation>
    </message>
    <message id="storage.corrupt_body">
        <source>A note couldn’t be decrypted. Its text may be damaged, or it was sealed with a different key.</source>
        <translation>A note couldn’t be decrypted. Its text may be damaged, or it was sealed with a different key.</translation>
    </message>
    <message id="storage.error_help">
        <source>Your changes stay open in Pondrift, and it tries again the next time you edit. If this keeps happening, check that your disk has free space.</source>
        <translation>Your changes stay open in Pondrift, and it tries again the next time you edit. If this keeps happening, check that your disk has free space.</translation>
    </message>
    <message id="storage.error_title">
        <source>Pondrift Couldn’t Read or Save Your Notes</source>
        <translation>Pondrift Couldn’t Read or Save Your Notes</translation>
    </message>
    <message id="storage.import_unsaved">
        <source>Some imported notes couldn’t be saved</source>
        <translation>Some imported notes couldn’t be saved</translation>
    </message>
    <message id="storage.invalid_color">
        <source>A note has a color that Pondrift doesn’t know.</source>
        <translation>A note has a color that Pondrift doesn’t know.</translation>
    </message>
    <message id="storage.invalid_key">
        <source>The key file that unlocks your notes is damaged, so they can’t be opened.</source>
        <translation>The key file that unlocks your notes is damaged, so they can’t be opened.</translation>
    </message>
    <message id="storage.missing_key">
        <source>The key file that unlocks your notes is missing, so they can’t be opened.</source>
        <translation>The key file that unlocks your notes is missing, so they can’t be opened.</translation>
    </message>
    <message id="storage.read_only">
        <source>Pondrift couldn’t open your notes, so it can’t keep new ones either. Nothing on disk has been changed.</source>
        <translation>Pondrift couldn’t open your notes, so it can’t keep new ones either. Nothing on disk has been changed.</translation>
    </message>
    <message id="storage.read_only_help">
        <source>Put back the key file (note.key) or the database from a backup, then quit Pondrift and start it again. Until then, copy any text you want to keep somewhere else.</source>
        <translation>Put back the key file (note.key) or the database from a backup, then quit Pondrift and start it again. Until then, copy any text you want to keep somewhere else.</translation>
    </message>
    <message id="sync.mass_delete.body" numerus="yes">
        <source>The sync folder no longer has %n notes that are on this computer. Delete them here too, or put them back in the folder?</source>
        <translation>
            <numerusform>The sync folder no longer has %n note that is on this computer. Delete it here too, or put it back in the folder?</numerusform>
            <numerusform>The sync folder no longer has %n notes that are on this computer. Delete them here too, or put them back in the folder?</numerusform>
        </translation>
    </message>
    <message id="sync.mass_delete.delete">
        <source>Delete from This Computer</source>
        <translation>Delete from This Computer</translation>
    </message>
    <message id="sync.mass_delete.restore">
        <source>Put Back in Folder</source>
        <translation>Put Back in Folder</translation>
    </message>
    <message id="sync.mass_delete.title">
        <source>Notes Are Missing from the Sync Folder</source>
        <translation>Notes Are Missing from the Sync Folder</translation>
    </message>
    <message id="undo.note_deleted">
        <source>Note deleted</source>
        <translation>Note deleted</translation>
    </message>
    <message id="updates.install_sparkle">
        <source>Pondrift is updated through your system’s package manager.</source>
        <translation>Pondrift is updated through your system’s package manager.</translation>
    </message>
    <message id="updates.last_checked">
        <source>Last checked %1</source>
        <translation>Last checked %1</translation>
    </message>
    <message id="updates.no_sparkle_status">
        <source>Updates come from your package manager</source>
        <translation>Updates come from your package manager</translation>
    </message>
    <message id="updates.not_checked">
        <source>Not checked yet</source>
        <translation>Not checked yet</translation>
    </message>
    <message id="welcome.note_body">
        <source># Welcome to Pondrift

Your notes wait in a **deck** on the edge of the screen. Move the pointer to the edge to fan out the tabs, and click a tab to open its note. Click anywhere else and it tucks itself away again.

☐ Open a note from the deck, then click outside it
☐ Press **Ctrl+Shift+Space** in any app and jot down a thought
☑ Read this note

**Quick capture** takes a few words into a new note, or adds them to one you pick, without leaving what you’re doing. Press Enter to save.

The **library** (**Ctrl+Alt+A**) lists every note and the archive, with search.

Drag a tab up or down to reorder your notes; right-click it for colors and more. When you’re done with this note, delete it.</source>
        <translation># Welcome to Pondrift

Your notes wait in a **deck** on the edge of the screen. Move the pointer to the edge to fan out the tabs, and click a tab to open its note. Click anywhere else and it tucks itself away again.

☐ Open a note from the deck, then click outside it
☐ Press **Ctrl+Shift+Space** in any app and jot down a thought
☑ Read this note

**Quick capture** takes a few words into a new note, or adds them to one you pick, without leaving what you’re doing. Press Enter to save.

The **library** (**Ctrl+Alt+A**) lists every note and the archive, with search.

Drag a tab up or down to reorder your notes; right-click it for colors and more. When you’re done with this note, delete it.</translation>
    </message>
    <message id="width.narrow">
        <source>Narrow</source>
        <translation>Narrow</translation>
    </message>
    <message id="width.standard">
        <source>Standard</source>
        <translation>Standard</translation>
    </message>
    <message id="width.very_wide">
        <source>Very Wide</source>
        <translation>Very Wide</translation>
    </message>
    <message id="width.wide">
        <source>Wide</source>
        <translation>Wide</translation>
    </message>
</context>
</TS>
