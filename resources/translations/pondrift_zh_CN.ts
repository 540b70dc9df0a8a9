<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN">
<context>
    <name></name>
    <message id="about.body">
        <source>Sticky notes that wait at the edge of your screen.

Your notes stay on this computer, encrypted.</source>
        <translation>停靠在屏幕边缘的便签。

你的便签加密保存在这台电脑上。</translation>
    </message>
    <message id="about.licence">
        <source>© 2026 The Pondrift developers. All rights reserved.</source>
        <translation>© 2026 Pondrift 开发者。保留所有权利。</translation>
    </message>
    <message id="action.archive">
        <source>Archive</source>
        <translation>归档</translation>
    </message>
    <message id="action.close">
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message id="action.cycle_colour">
        <source>Next Color</source>
        <translation>切换颜色</translation>
    </message>
    <message id="action.delete">
        <source>Delete</source>
        <translation>删除</translation>
    </message>
    <message id="action.find">
        <source>Find</source>
        <translation>查找</translation>
    </message>
    <message id="action.pin">
        <source>Pin</source>
        <translation>置顶</translation>
    </message>
    <message id="action.restore">
        <source>Restore</source>
        <translation>恢复</translation>
    </message>
    <message id="action.undo">
        <source>Undo</source>
        <translation>撤销</translation>
    </message>
    <message id="action.unpin">
        <source>Unpin</source>
        <translation>取消置顶</translation>
    </message>
    <message id="capture.hint">
        <source>Enter to save · Shift+Enter for a new line · Esc to close</source>
        <translation>回车保存 · Shift+回车换行 · Esc 关闭</translation>
    </message>
    <message id="capture.title">
        <source>Quick Note</source>
        <translation>快速记录</translation>
    </message>
    <message id="color.lemon">
        <source>Lemon</source>
        <translation>柠檬黄</translation>
    </message>
    <message id="color.lilac">
        <source>Lilac</source>
        <translation>丁香紫</translation>
    </message>
    <message id="color.mint">
        <source>Mint</source>
        <translation>薄荷绿</translation>
    </message>
    <message id="color.peach">
        <source>Peach</source>
        <translation>蜜桃橙</translation>
    </message>
    <message id="color.rose">
        <source>Rose</source>
        <translation>玫瑰粉</translation>
    </message>
    <message id="color.sand">
        <source>Sand</source>
        <translation>沙棕色</translation>
    </message>
    <message id="color.sky">
        <source>Sky</source>
        <translation>天空蓝</translation>
    </message>
    <message id="color.slate">
        <source>Slate</source>
        <translation>石板灰</translation>
    </message>
    <message id="date.days_ago" numerus="yes">
        <source>%n days ago</source>
        <translation>
            <numerusform>%n 天前</numerusform>
        </translation>
    </message>
    <message id="date.hours_ago" numerus="yes">
        <source>%n hr ago</source>
        <translation>
            <numerusform>%n 小时前</numerusform>
        </translation>
    </message>
    <message id="date.just_now">
        <source>just now</source>
        <translation>刚刚</translation>
    </message>
    <message id="date.minutes_ago" numerus="yes">
        <source>%n min ago</source>
        <translation>
            <numerusform>%n 分钟前</numerusform>
        </translation>
    </message>
    <message id="date.months_ago" numerus="yes">
        <source>%n mo ago</source>
        <translation>
            <numerusform>%n 个月前</numerusform>
        </translation>
    </message>
    <message id="date.weeks_ago" numerus="yes">
        <source>%n wk ago</source>
        <translation>
            <numerusform>%n 周前</numerusform>
        </translation>
    </message>
    <message id="date.years_ago" numerus="yes">
        <source>%n yr ago</source>
        <translation>
            <numerusform>%n 年前</numerusform>
        </translation>
    </message>
    <message id="deck_style.colour_chips">
        <source>Color Chips</source>
        <translation>色块</translation>
    </message>
    <message id="deck_style.labelled_tabs">
        <source>Labeled Tabs</source>
        <translation>带标题的标签</translation>
    </message>
    <message id="direction.auto_short">
        <source>Auto</source>
        <translation>自动</translation>
    </message>
    <message id="direction.automatic">
        <source>Automatic</source>
        <translation>自动</translation>
    </message>
    <message id="direction.left_to_right">
        <source>Left to Right</source>
        <translation>从左到右</translation>
    </message>
    <message id="direction.right_to_left">
        <source>Right to Left</source>
        <translation>从右到左</translation>
    </message>
    <message id="display.all">
        <source>All Displays</source>
        <translation>所有显示器</translation>
    </message>
    <message id="display.main">
        <source>Main Display</source>
        <translation>主显示器</translation>
    </message>
    <message id="display.named_main">
        <source>%1 (Main)</source>
        <translation>%1（主显示器）</translation>
    </message>
    <message id="edge.left">
        <source>Left</source>
        <translation>左侧</translation>
    </message>
    <message id="edge.right">
        <source>Right</source>
        <translation>右侧</translation>
    </message>
    <message id="export.archive_filename">
        <source>Pondrift Notes %1.stickies</source>
        <translation>Pondrift 便签 %1.stickies</translation>
    </message>
    <message id="export.choose_folder" numerus="yes">
        <source>Choose a folder for %n notes in %1 format.</source>
        <translation>
            <numerusform>选择一个文件夹，以 %1 格式保存 %n 条便签。</numerusform>
        </translation>
    </message>
    <message id="export.default_note_name">
        <source>Note %1</source>
        <translation>便签 %1</translation>
    </message>
    <message id="export.document_title">
        <source>Pondrift Notes</source>
        <translation>Pondrift 便签</translation>
    </message>
    <message id="export.empty_body">
        <source>There are no notes to export.</source>
        <translation>没有可以导出的便签。</translation>
    </message>
    <message id="export.empty_title">
        <source>Nothing to Export</source>
        <translation>没有可导出的内容</translation>
    </message>
    <message id="export.failed_title">
        <source>Export Failed</source>
        <translation>导出失败</translation>
    </message>
    <message id="export.here">
        <source>Export Here</source>
        <translation>导出到这里</translation>
    </message>
    <message id="export.incomplete_body">
        <source>Only %1 of %2 were exported. The rest couldn’t be written to the folder.</source>
        <translation>%2中只有 %1 条导出成功，其余的无法写入该文件夹。</translation>
    </message>
    <message id="export.incomplete_title">
        <source>Some Notes Weren’t Exported</source>
        <translation>部分便签未能导出</translation>
    </message>
    <message id="export.markdown_filename">
        <source>Pondrift Notes %1.md</source>
        <translation>Pondrift 便签 %1.md</translation>
    </message>
    <message id="export.markdown_per_note">
        <source>Markdown Files…</source>
        <translation>Markdown 文件…</translation>
    </message>
    <message id="export.metadata">
        <source>%1 · created %2 · modified %3%4</source>
        <translation>%1 · 创建于 %2 · 修改于 %3%4</translation>
    </message>
    <message id="export.metadata_archived_suffix">
        <source> · archived</source>
        <translation> · 已归档</translation>
    </message>
    <message id="export.plain_per_note">
        <source>Plain Text Files…</source>
        <translation>纯文本文件…</translation>
    </message>
    <message id="export.single_document">
        <source>Single Markdown Document…</source>
        <translation>单个 Markdown 文档…</translation>
    </message>
    <message id="export.sticky_archive">
        <source>Pondrift Archive…</source>
        <translation>Pondrift 备份文件…</translation>
    </message>
    <message id="find.next">
        <source>Next Match</source>
        <translation>下一个匹配项</translation>
    </message>
    <message id="find.previous">
        <source>Previous Match</source>
        <translation>上一个匹配项</translation>
    </message>
    <message id="font.system">
        <source>System</source>
        <translation>系统字体</translation>
    </message>
    <message id="help.cycle_colour">
        <source>Change Color</source>
        <translation>更换颜色</translation>
    </message>
    <message id="help.find">
        <source>Find in Note</source>
        <translation>在便签中查找</translation>
    </message>
    <message id="help.new_note">
        <source>New Note</source>
        <translation>新建便签</translation>
    </message>
    <message id="help.pick_colour">
        <source>Choose Color</source>
        <translation>选择颜色</translation>
    </message>
    <message id="help.pin">
        <source>Pin to Top</source>
        <translation>置顶</translation>
    </message>
    <message id="help.settings">
        <source>Settings</source>
        <translation>设置</translation>
    </message>
    <message id="help.task">
        <source>Add or Remove Checkbox</source>
        <translation>切换待办</translation>
    </message>
    <message id="help.text_direction">
        <source>Text Direction</source>
        <translation>文字方向</translation>
    </message>
    <message id="help.unpin">
        <source>Unpin</source>
        <translation>取消置顶</translation>
    </message>
    <message id="import.added" numerus="yes">
        <source>%n notes were added.</source>
        <translation>
            <numerusform>已添加 %n 条便签。</numerusform>
        </translation>
    </message>
    <message id="import.choose_files">
        <source>Choose text or Markdown files, or a Pondrift archive, to import.</source>
        <translation>选择要导入的文本或 Markdown 文件，或 Pondrift 备份文件。</translation>
    </message>
    <message id="import.complete_title">
        <source>Import Complete</source>
        <translation>导入完成</translation>
    </message>
    <message id="import.invalid_archive">
        <source>This archive comes from a version of Pondrift that this one can’t read.</source>
        <translation>这个备份文件来自其他版本的 Pondrift，当前版本无法读取。</translation>
    </message>
    <message id="import.problems_body">
        <source>%1 These couldn’t be imported: %2</source>
        <translation>%1以下内容无法导入：%2</translation>
    </message>
    <message id="import.problems_title">
        <source>Some Files Couldn’t Be Imported</source>
        <translation>部分文件未能导入</translation>
    </message>
    <message id="key.escape">
        <source>Esc</source>
        <translation>Esc</translation>
    </message>
    <message id="key.space">
        <source>Space</source>
        <translation>空格</translation>
    </message>
    <message id="key.unknown">
        <source>Key %1</source>
        <translation>按键 %1</translation>
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
        <translation>跟随系统</translation>
    </message>
    <message id="library.all_notes">
        <source>All Notes</source>
        <translation>所有便签</translation>
    </message>
    <message id="library.archive">
        <source>Archive</source>
        <translation>归档</translation>
    </message>
    <message id="library.no_archive">
        <source>No archived notes</source>
        <translation>没有已归档的便签</translation>
    </message>
    <message id="library.no_trash">
        <source>Nothing was deleted by sync in the last 30 days</source>
        <translation>近 30 天内没有被同步删除的便签</translation>
    </message>
    <message id="library.recently_deleted">
        <source>Recently Deleted</source>
        <translation>最近删除</translation>
    </message>
    <message id="library.restore_failed">
        <source>“%1” could not be restored.</source>
        <translation>无法恢复“%1”。</translation>
    </message>
    <message id="library.restore_failed_help">
        <source>Its file in the trash could not be read, or the note could not be saved. The file is kept; nothing was lost.</source>
        <translation>无法读取它在废纸篓中的文件，或无法保存这条便签。文件已保留，没有丢失任何内容。</translation>
    </message>
    <message id="library.no_matches">
        <source>No matching notes</source>
        <translation>没有匹配的便签</translation>
    </message>
    <message id="library.no_notes">
        <source>No notes yet</source>
        <translation>还没有便签</translation>
    </message>
    <message id="library.search_placeholder">
        <source>Search</source>
        <translation>搜索</translation>
    </message>
    <message id="library.select_note">
        <source>Select a note</source>
        <translation>选择一条便签</translation>
    </message>
    <message id="menu.about">
        <source>About Pondrift</source>
        <translation>关于 Pondrift</translation>
    </message>
    <message id="menu.all_notes">
        <source>All Notes</source>
        <translation>所有便签</translation>
    </message>
    <message id="menu.archive">
        <source>Archive</source>
        <translation>归档</translation>
    </message>
    <message id="menu.bigger_text">
        <source>Bigger Text</source>
        <translation>放大文字</translation>
    </message>
    <message id="menu.check_automatically">
        <source>Check for Updates Automatically</source>
        <translation>自动检查更新</translation>
    </message>
    <message id="menu.check_for_updates">
        <source>Check for Updates…</source>
        <translation>检查更新…</translation>
    </message>
    <message id="menu.copy">
        <source>Copy</source>
        <translation>复制</translation>
    </message>
    <message id="menu.cut">
        <source>Cut</source>
        <translation>剪切</translation>
    </message>
    <message id="menu.deck_size">
        <source>Deck Size</source>
        <translation>便签栏大小</translation>
    </message>
    <message id="menu.deck_style">
        <source>Deck Style</source>
        <translation>便签栏样式</translation>
    </message>
    <message id="menu.display">
        <source>Display</source>
        <translation>显示器</translation>
    </message>
    <message id="menu.dock_left">
        <source>Dock on Left Edge</source>
        <translation>停靠在左侧</translation>
    </message>
    <message id="menu.edit">
        <source>Edit</source>
        <translation>编辑</translation>
    </message>
    <message id="menu.export">
        <source>Export</source>
        <translation>导出</translation>
    </message>
    <message id="menu.hide">
        <source>Hide Pondrift</source>
        <translation>隐藏 Pondrift</translation>
    </message>
    <message id="menu.import">
        <source>Import…</source>
        <translation>导入…</translation>
    </message>
    <message id="menu.insert_image">
        <source>Insert Image…</source>
        <translation>插入图片…</translation>
    </message>
    <message id="menu.keep_deck_open">
        <source>Keep Deck Open</source>
        <translation>始终展开便签栏</translation>
    </message>
    <message id="menu.launch_at_login">
        <source>Open at Login</source>
        <translation>登录时启动</translation>
    </message>
    <message id="menu.new_note">
        <source>New Note</source>
        <translation>新建便签</translation>
    </message>
    <message id="menu.note_font">
        <source>Note Font</source>
        <translation>便签字体</translation>
    </message>
    <message id="menu.paste">
        <source>Paste</source>
        <translation>粘贴</translation>
    </message>
    <message id="menu.quit">
        <source>Quit Pondrift</source>
        <translation>退出 Pondrift</translation>
    </message>
    <message id="menu.redo">
        <source>Redo</source>
        <translation>重做</translation>
    </message>
    <message id="menu.select_all">
        <source>Select All</source>
        <translation>全选</translation>
    </message>
    <message id="menu.settings">
        <source>Settings…</source>
        <translation>设置…</translation>
    </message>
    <message id="menu.show_over_fullscreen">
        <source>Show Over Full-Screen Apps</source>
        <translation>在全屏应用上方显示</translation>
    </message>
    <message id="menu.smaller_text">
        <source>Smaller Text</source>
        <translation>缩小文字</translation>
    </message>
    <message id="menu.text_size">
        <source>Text Size</source>
        <translation>文字大小</translation>
    </message>
    <message id="menu.undo">
        <source>Undo</source>
        <translation>撤销</translation>
    </message>
    <message id="migration.panel_open">
        <source>Copy Notes</source>
        <translation>复制便签</translation>
    </message>
    <message id="migration.panel_prompt">
        <source>To bring over the notes of an earlier version, select its Pondrift folder and click Copy Notes.</source>
        <translation>要迁移旧版本中的便签，请选择其 Pondrift 文件夹，然后点击“复制便签”。</translation>
    </message>
    <message id="note.edited">
        <source>Edited %1</source>
        <translation>%1编辑</translation>
    </message>
    <message id="note.empty">
        <source>Empty note</source>
        <translation>空白便签</translation>
    </message>
    <message id="note.find_placeholder">
        <source>Find in note</source>
        <translation>在便签中查找</translation>
    </message>
    <message id="note.new_tab">
        <source>New note</source>
        <translation>新便签</translation>
    </message>
    <message id="note.not_saved">
        <source>Not saved</source>
        <translation>未保存</translation>
    </message>
    <message id="note.saved">
        <source>Saved %1</source>
        <translation>%1保存</translation>
    </message>
    <message id="note.title_prompt">
        <source>Title</source>
        <translation>标题</translation>
    </message>
    <message id="note.title_reset">
        <source>Use First Line as Title</source>
        <translation>用首行作标题</translation>
    </message>
    <message id="note.untitled">
        <source>Untitled</source>
        <translation>无标题</translation>
    </message>
    <message id="notes.count" numerus="yes">
        <source>%n notes</source>
        <translation>
            <numerusform>%n 条便签</numerusform>
        </translation>
    </message>
    <message id="notes.more" numerus="yes">
        <source>%n more notes</source>
        <translation>
            <numerusform>还有 %n 条便签</numerusform>
        </translation>
    </message>
    <message id="quit.unsaved.lost">
        <source>If you quit now, the latest changes to these notes are lost:</source>
        <translation>如果现在退出，以下便签的最新改动将会丢失：</translation>
    </message>
    <message id="quit.unsaved.more" numerus="yes">
        <source>and %n more</source>
        <translation>
            <numerusform>以及另外 %n 条</numerusform>
        </translation>
    </message>
    <message id="quit.unsaved.quit">
        <source>Quit Without Saving</source>
        <translation>不保存并退出</translation>
    </message>
    <message id="quit.unsaved.stay">
        <source>Stay</source>
        <translation>暂不退出</translation>
    </message>
    <message id="quit.unsaved.title">
        <source>Your notes could not be saved</source>
        <translation>无法保存你的便签</translation>
    </message>
    <message id="quit.unsaved.try_again">
        <source>Try Again</source>
        <translation>重试</translation>
    </message>
    <message id="settings.deck.caption">
        <source>Where the deck sits and how it behaves.</source>
        <translation>便签栏的位置和行为。</translation>
    </message>
    <message id="settings.deck.detection_area">
        <source>Edge zone</source>
        <translation>感应区域</translation>
    </message>
    <message id="settings.deck.detection_help">
        <source>How close to the edge the pointer must come to bring out the deck.</source>
        <translation>指针离屏幕边缘多近时唤出便签栏。</translation>
    </message>
    <message id="settings.deck.display">
        <source>Display</source>
        <translation>显示器</translation>
    </message>
    <message id="settings.deck.drag_help">
        <source>Tip: drag the strip at the edge up or down to move the deck along it.</source>
        <translation>提示：上下拖动屏幕边缘的细条，可以沿边缘移动便签栏。</translation>
    </message>
    <message id="settings.deck.edge">
        <source>Screen edge</source>
        <translation>屏幕边缘</translation>
    </message>
    <message id="settings.deck.hide_actions">
        <source>Hide buttons</source>
        <translation>隐藏按钮</translation>
    </message>
    <message id="settings.deck.hide_actions_help">
        <source>Hides the New Note and Settings buttons while the deck stays open.</source>
        <translation>便签栏保持展开时，隐藏“新建便签”和“设置”按钮。</translation>
    </message>
    <message id="settings.deck.hide_pill">
        <source>Hide the edge strip</source>
        <translation>隐藏边缘细条</translation>
    </message>
    <message id="settings.deck.hide_pill_help">
        <source>The deck still opens when the pointer reaches the edge.</source>
        <translation>指针移到屏幕边缘时，便签栏照样会打开。</translation>
    </message>
    <message id="settings.deck.hover_open">
        <source>Open notes on hover</source>
        <translation>悬停时打开便签</translation>
    </message>
    <message id="settings.deck.hover_open_help">
        <source>Rest the pointer on a tab to open its note, no click needed.</source>
        <translation>指针在标签上稍作停留即可打开便签，无需点击。</translation>
    </message>
    <message id="settings.deck.hover_preview">
        <source>Preview on hover</source>
        <translation>悬停时预览</translation>
    </message>
    <message id="settings.deck.hover_preview_help">
        <source>Shows the start of a note when the pointer rests on its tab.</source>
        <translation>指针停在标签上时，显示便签的开头内容。</translation>
    </message>
    <message id="settings.deck.keep_open">
        <source>Keep deck open</source>
        <translation>始终展开便签栏</translation>
    </message>
    <message id="settings.deck.keep_open_help">
        <source>The tabs stay out even while you work in other apps.</source>
        <translation>在其他应用中工作时，标签也保持展开。</translation>
    </message>
    <message id="settings.deck.language">
        <source>Language</source>
        <translation>语言</translation>
    </message>
    <message id="settings.deck.language_help">
        <source>Pondrift restarts to change the language.</source>
        <translation>更改语言后 Pondrift 会重新启动。</translation>
    </message>
    <message id="settings.deck.size">
        <source>Size</source>
        <translation>大小</translation>
    </message>
    <message id="settings.deck.size_help">
        <source>Scales the tabs and buttons of the deck.</source>
        <translation>缩放便签栏的标签和按钮。</translation>
    </message>
    <message id="settings.deck.style">
        <source>Style</source>
        <translation>样式</translation>
    </message>
    <message id="settings.deck.tab">
        <source>Deck</source>
        <translation>便签栏</translation>
    </message>
    <message id="settings.notes.caption">
        <source>How your notes look.</source>
        <translation>便签的外观。</translation>
    </message>
    <message id="settings.notes.font">
        <source>Font</source>
        <translation>字体</translation>
    </message>
    <message id="settings.notes.font_size_value">
        <source>%1 pt</source>
        <translation>%1 磅</translation>
    </message>
    <message id="settings.notes.markdown">
        <source>Style Markdown as you type</source>
        <translation>输入时显示 Markdown 样式</translation>
    </message>
    <message id="settings.notes.markdown_help">
        <source>Headings, bold text and lists show as they will look; the markup shows only on the line you’re editing.</source>
        <translation>标题、粗体和列表直接显示效果，标记符号只在正在编辑的那一行显示。</translation>
    </message>
    <message id="settings.notes.note_size">
        <source>Note size</source>
        <translation>便签大小</translation>
    </message>
    <message id="settings.notes.tab">
        <source>Notes</source>
        <translation>便签</translation>
    </message>
    <message id="settings.notes.text_size">
        <source>Text size</source>
        <translation>文字大小</translation>
    </message>
    <message id="settings.shortcuts.caption">
        <source>Global shortcuts work in any app; note shortcuts work while a note is open.</source>
        <translation>全局快捷键在任何应用中都有效；便签快捷键在打开便签时有效。</translation>
    </message>
    <message id="settings.shortcuts.global">
        <source>Global</source>
        <translation>全局</translation>
    </message>
    <message id="settings.shortcuts.hint">
        <source>Click a shortcut, then press the new keys. Backspace clears it; Esc keeps the old one.</source>
        <translation>点击快捷键，再按下新的组合键。按退格键清除，按 Esc 保留原来的设置。</translation>
    </message>
    <message id="settings.shortcuts.in_note">
        <source>In a Note</source>
        <translation>便签内</translation>
    </message>
    <message id="settings.shortcuts.tab">
        <source>Shortcuts</source>
        <translation>快捷键</translation>
    </message>
    <message id="settings.sync.caption">
        <source>Keep a copy of every note as a Markdown file in a synced folder.</source>
        <translation>把每条便签另存为 Markdown 文件，放在同步文件夹中。</translation>
    </message>
    <message id="settings.sync.enable">
        <source>Sync notes to a folder</source>
        <translation>将便签同步到文件夹</translation>
    </message>
    <message id="settings.sync.enable_help">
        <source>Each note becomes a plain Markdown file that your other devices and apps can read. The files aren’t encrypted, and images stay on this computer.</source>
        <translation>每条便签都会保存为普通 Markdown 文件，其他设备和应用也能读取。这些文件不加密，图片只保存在这台电脑上。</translation>
    </message>
    <message id="settings.sync.folder">
        <source>Folder</source>
        <translation>文件夹</translation>
    </message>
    <message id="settings.sync.reveal">
        <source>Show in File Manager</source>
        <translation>在文件管理器中显示</translation>
    </message>
    <message id="settings.sync.status">
        <source>Status</source>
        <translation>状态</translation>
    </message>
    <message id="settings.sync.status_last">
        <source>Last synced %1</source>
        <translation>上次同步：%1</translation>
    </message>
    <message id="settings.sync.status_never">
        <source>Not synced yet</source>
        <translation>尚未同步</translation>
    </message>
    <message id="settings.sync.status_no_folder">
        <source>No folder chosen</source>
        <translation>未选择文件夹</translation>
    </message>
    <message id="settings.sync.status_notes_unreadable">
        <source>Waiting: your notes can’t be read, so nothing is synced</source>
        <translation>等待中：无法读取便签，因此不会同步任何内容</translation>
    </message>
    <message id="settings.sync.status_unlisted">
        <source>Waiting: the folder’s contents can’t be listed</source>
        <translation>等待中：无法列出文件夹中的内容</translation>
    </message>
    <message id="settings.sync.choose">
        <source>Choose…</source>
        <translation>选择…</translation>
    </message>
    <message id="settings.sync.choose_title">
        <source>Choose the Folder Your Sync App Carries</source>
        <translation>选择由同步应用同步的文件夹</translation>
    </message>
    <message id="settings.sync.folder_help">
        <source>Notes go into a Pondrift folder inside the folder you choose, such as your Nextcloud, Dropbox or Syncthing folder. Changing it copies every note there and deletes nothing.</source>
        <translation>便签会保存在所选文件夹中的 Pondrift 文件夹里，例如 Nextcloud、Dropbox 或 Syncthing 的文件夹。更换文件夹会把所有便签复制过去，不会删除任何内容。</translation>
    </message>
    <message id="settings.sync.status_off">
        <source>Off</source>
        <translation>已关闭</translation>
    </message>
    <message id="settings.sync.status_unavailable">
        <source>Folder unavailable</source>
        <translation>文件夹不可用</translation>
    </message>
    <message id="settings.sync.sync_now">
        <source>Sync Now</source>
        <translation>立即同步</translation>
    </message>
    <message id="settings.sync.tab">
        <source>Sync</source>
        <translation>同步</translation>
    </message>
    <message id="settings.sync.unavailable_help">
        <source>No sync folder is available. Make sure the folder exists and can be written to.</source>
        <translation>没有可用的同步文件夹。请确认该文件夹存在且可以写入。</translation>
    </message>
    <message id="settings.updates.automatic">
        <source>Check for updates automatically</source>
        <translation>自动检查更新</translation>
    </message>
    <message id="settings.updates.caption">
        <source>Keep Pondrift up to date.</source>
        <translation>让 Pondrift 保持最新。</translation>
    </message>
    <message id="settings.updates.check_now">
        <source>Check Now</source>
        <translation>立即检查</translation>
    </message>
    <message id="settings.updates.privacy">
        <source>A check sends only the version of Pondrift. Nothing about your notes leaves this computer.</source>
        <translation>检查更新时只发送 Pondrift 的版本号，与便签有关的任何内容都不会离开这台电脑。</translation>
    </message>
    <message id="settings.updates.tab">
        <source>Updates</source>
        <translation>更新</translation>
    </message>
    <message id="settings.updates.this_copy">
        <source>Installed version</source>
        <translation>当前版本</translation>
    </message>
    <message id="settings.updates.version">
        <source>Version %1 (%2)</source>
        <translation>版本 %1（%2）</translation>
    </message>
    <message id="settings.window_title">
        <source>Pondrift Settings</source>
        <translation>Pondrift 设置</translation>
    </message>
    <message id="shortcut.all_notes">
        <source>All notes</source>
        <translation>所有便签</translation>
    </message>
    <message id="shortcut.archive_note">
        <source>Archive note</source>
        <translation>归档便签</translation>
    </message>
    <message id="shortcut.archive_window">
        <source>Archive</source>
        <translation>归档</translation>
    </message>
    <message id="shortcut.duplicate">
        <source>Another command uses this shortcut too.</source>
        <translation>其他命令也在使用这个快捷键。</translation>
    </message>
    <message id="shortcut.new_note">
        <source>New note</source>
        <translation>新建便签</translation>
    </message>
    <message id="shortcut.press_keys">
        <source>Press keys…</source>
        <translation>请按下组合键…</translation>
    </message>
    <message id="shortcut.quick_capture">
        <source>Quick note</source>
        <translation>快速记录</translation>
    </message>
    <message id="shortcut.toggle_task">
        <source>Add or remove checkbox</source>
        <translation>切换待办</translation>
    </message>
    <message id="size.default">
        <source>Default</source>
        <translation>默认</translation>
    </message>
    <message id="size.extra_large">
        <source>Extra Large</source>
        <translation>特大</translation>
    </message>
    <message id="size.huge">
        <source>Huge</source>
        <translation>超大</translation>
    </message>
    <message id="size.large">
        <source>Large</source>
        <translation>大</translation>
    </message>
    <message id="size.medium">
        <source>Medium</source>
        <translation>中</translation>
    </message>
    <message id="size.small">
        <source>Small</source>
        <translation>小</translation>
    </message>
    <message id="storage.corrupt_body">
        <source>A note couldn’t be decrypted. Its text may be damaged, or it was sealed with a different key.</source>
        <translation>有一条便签无法解密。它的内容可能已损坏，或是用另一个密钥加密的。</translation>
    </message>
    <message id="storage.error_help">
        <source>Your changes stay open in Pondrift, and it tries again the next time you edit. If this keeps happening, check that your disk has free space.</source>
        <translation>你的修改仍保留在 Pondrift 中，下次编辑时会再次尝试保存。如果问题反复出现，请检查磁盘是否还有空间。</translation>
    </message>
    <message id="storage.error_title">
        <source>Pondrift Couldn’t Read or Save Your Notes</source>
        <translation>Pondrift 无法读取或保存便签</translation>
    </message>
    <message id="storage.import_unsaved">
        <source>Some imported notes couldn’t be saved</source>
        <translation>部分导入的便签未能保存</translation>
    </message>
    <message id="storage.invalid_color">
        <source>A note has a color that Pondrift doesn’t know.</source>
        <translation>有一条便签的颜色无效。</translation>
    </message>
    <message id="storage.invalid_key">
        <source>The key file that unlocks your notes is damaged, so they can’t be opened.</source>
        <translation>用于解锁便签的密钥文件已损坏，无法打开便签。</translation>
    </message>
    <message id="storage.missing_key">
        <source>The key file that unlocks your notes is missing, so they can’t be opened.</source>
        <translation>找不到用于解锁便签的密钥文件，无法打开便签。</translation>
    </message>
    <message id="storage.read_only">
        <source>Pondrift couldn’t open your notes, so it can’t keep new ones either. Nothing on disk has been changed.</source>
        <translation>Pondrift 无法打开你的便签，因此也无法保存新便签。磁盘上的内容没有任何改动。</translation>
    </message>
    <message id="storage.read_only_help">
        <source>Put back the key file (note.key) or the database from a backup, then quit Pondrift and start it again. Until then, copy any text you want to keep somewhere else.</source>
        <translation>请从备份中恢复密钥文件（note.key）或数据库，然后退出并重新启动 Pondrift。在此之前，请把想保留的文字复制到别处。</translation>
    </message>
    <message id="sync.mass_delete.body" numerus="yes">
        <source>The sync folder no longer has %n notes that are on this computer. Delete them here too, or put them back in the folder?</source>
        <translation>
            <numerusform>同步文件夹中已经没有这台电脑上的 %n 条便签。要在这台电脑上也删除它们，还是把它们放回文件夹？</numerusform>
        </translation>
    </message>
    <message id="sync.mass_delete.delete">
        <source>Delete from This Computer</source>
        <translation>从这台电脑删除</translation>
    </message>
    <message id="sync.mass_delete.restore">
        <source>Put Back in Folder</source>
        <translation>放回文件夹</translation>
    </message>
    <message id="sync.mass_delete.title">
        <source>Notes Are Missing from the Sync Folder</source>
        <translation>同步文件夹中缺少便签</translation>
    </message>
    <message id="undo.note_deleted">
        <source>Note deleted</source>
        <translation>便签已删除</translation>
    </message>
    <message id="updates.install_sparkle">
        <source>Pondrift is updated through your system’s package manager.</source>
        <translation>Pondrift 通过系统的软件包管理器更新。</translation>
    </message>
    <message id="updates.last_checked">
        <source>Last checked %1</source>
        <translation>上次检查：%1</translation>
    </message>
    <message id="updates.no_sparkle_status">
        <source>Updates come from your package manager</source>
        <translation>更新由软件包管理器提供</translation>
    </message>
    <message id="updates.not_checked">
        <source>Not checked yet</source>
        <translation>尚未检查</translation>
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
        <translation># 欢迎使用 Pondrift

你的便签收在屏幕边缘的**便签栏**里。把指针移到屏幕边缘，标签就会展开；点一下标签，就能打开对应的便签。点别处，它会自己收起来。

☐ 从便签栏打开一条便签，再点一下别处
☐ 在任何应用里按 **Ctrl+Shift+空格**，随手记下一个想法
☑ 读完这条便签

**快速记录**可以把几句话存成新便签，或追加到你选中的便签里，不用离开手头的事。按回车键保存。

**便签库**（**Ctrl+Alt+A**）列出所有便签和归档，还能搜索。

上下拖动标签可以调整顺序；右键点击标签可以换颜色，还有更多操作。用不着这条便签时，删掉就好。</translation>
    </message>
    <message id="width.narrow">
        <source>Narrow</source>
        <translation>窄</translation>
    </message>
    <message id="width.standard">
        <source>Standard</source>
        <translation>标准</translation>
    </message>
    <message id="width.very_wide">
        <source>Very Wide</source>
        <translation>特宽</translation>
    </message>
    <message id="width.wide">
        <source>Wide</source>
        <translation>宽</translation>
    </message>
</context>
</TS>
