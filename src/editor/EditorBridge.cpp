#include "editor/EditorBridge.h"

#include "editor/EditorRanges.h"
#include "notes/Tasks.h"

#include <QTextDocument>

EditorBridge::EditorBridge(QObject* parent)
    : QObject(parent)
{
}

void EditorBridge::setTextView(EditorTextTarget* view)
{
    target = view;
    owner = view ? view->targetObject() : nullptr;
}

EditorTextTarget* EditorBridge::textView() const { return owner ? target : nullptr; }

void EditorBridge::setMatchCount(int value)
{
    if (count == value)
        return;
    count = value;
    Q_EMIT matchCountChanged(count);
}

void EditorBridge::recount(const QString& query)
{
    EditorTextTarget* view = textView();
    if (!view || query.isEmpty() || !view->textDocument()) {
        setMatchCount(0);
        return;
    }
    const QTextDocument& document = *view->textDocument();
    const QString text = EditorRanges::text(document, {0, EditorRanges::length(document)});
    int found = 0;
    qsizetype position = 0;
    while (position < text.size()) {
        const qsizetype at = text.indexOf(query, position, Qt::CaseInsensitive);
        if (at < 0)
            break;
        ++found;
        position = at + std::max<qsizetype>(query.size(), 1);
    }
    setMatchCount(found);
}

void EditorBridge::findNext(const QString& query, bool forward)
{
    EditorTextTarget* view = textView();
    if (!view || query.isEmpty() || !view->textDocument())
        return;
    const QTextDocument& document = *view->textDocument();
    const QString text = EditorRanges::text(document, {0, EditorRanges::length(document)});
    const TextRange selection = view->selectedRange();
    qsizetype at = -1;
    if (forward) {
        const qsizetype start = std::min(selection.end(), text.size());
        at = text.indexOf(query, start, Qt::CaseInsensitive);
        if (at < 0)
            at = text.indexOf(query, 0, Qt::CaseInsensitive);
    } else {
        // The nearest match that ends at or before the selection's start.
        const qsizetype latestStart = selection.location - query.size();
        if (latestStart >= 0)
            at = text.lastIndexOf(query, latestStart, Qt::CaseInsensitive);
        if (at < 0)
            at = text.lastIndexOf(query, -1, Qt::CaseInsensitive);
    }
    if (at >= 0)
        view->showFoundRange({at, query.size()});
}

void EditorBridge::toggleTaskLine()
{
    EditorTextTarget* view = textView();
    if (!view || !view->textDocument())
        return;
    const QTextDocument& document = *view->textDocument();
    const TextRange line = EditorRanges::lineRange(view->selectedRange().location, document);
    const QString lineText = EditorRanges::text(document, line);
    if (Tasks::isTask(lineText)) {
        const qsizetype removal = lineText.size() >= 2 && lineText[1] == u' ' ? 2 : 1;
        view->replaceText({line.location, removal}, QString());
    } else {
        view->replaceText({line.location, 0}, Tasks::openPrefix);
    }
}

void EditorBridge::focusText()
{
    if (EditorTextTarget* view = textView())
        view->takeFocus();
}
