#include "editor/ui/NoteTextView.h"

#include "editor/EditorRanges.h"
#include "editor/EditorStyleEngine.h"
#include "editor/ImageCaret.h"
#include "editor/MarkdownRuns.h"
#include "editor/ui/NoteImageOverlays.h"
#include "editor/ui/NoteSpellCheck.h"
#include "images/ImagePasteboard.h"
#include "images/ImageStore.h"
#include "l10n/L10n.h"
#include "notes/Tasks.h"
#include "platform/Desktop.h"

#include <QAbstractTextDocumentLayout>
#include <QContextMenuEvent>
#include <QFileDialog>
#include <QImageReader>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextLayout>
#include <QVariantAnimation>

using namespace Qt::Literals::StringLiterals;

namespace {

// The inset of the text from the view's edges: 15 wide, 6 high, made of the document's own
// margin and the viewport's.
constexpr int documentMargin = 6;
constexpr int sideMargin = 15 - documentMargin;

// The text as a QTextDocument holds it: CR LF, CR and U+2029 all become one block break,
// which reads back as "\n". Every other character stays as it is.
QString asDocumentHolds(const QString& text)
{
    if (!text.contains(u'\r') && !text.contains(QChar::ParagraphSeparator))
        return text;
    QString held = text;
    held.replace(u"\r\n"_s, u"\n"_s);
    held.replace(u'\r', u'\n');
    held.replace(QChar::ParagraphSeparator, u'\n');
    return held;
}

QString charAt(const QTextDocument& document, qsizetype position)
{
    return EditorRanges::text(document, {position, 1});
}

} // namespace

NoteTextView::NoteTextView(const QString& text, Configuration configuration, EditorBridge* bridge,
                           Desktop& desktop, ImageStore& images, QWidget* parent)
    : QTextEdit(parent)
    , config(std::move(configuration))
    , bridge(bridge)
    , desktop(desktop)
    , images(images)
    , coordinator(*document())
{
    Q_ASSERT(config.bodyFont);
    setAcceptRichText(false);
    setUndoRedoEnabled(true);
    setFrameShape(QFrame::NoFrame);
    setAutoFillBackground(false);
    viewport()->setAutoFillBackground(false);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setLineWrapMode(QTextEdit::WidgetWidth);
    setViewportMargins(sideMargin, 0, sideMargin, 0);
    document()->setDocumentMargin(documentMargin);
    viewport()->setMouseTracking(true);
    setAcceptDrops(true);

    QPalette p = palette();
    p.setColor(QPalette::Text, config.ink);
    p.setColor(QPalette::Base, Qt::transparent);
    setPalette(p);
    setFont(config.bodyFont(config.fontSize));
    setPlainText(text);

    connect(document(), &QTextDocument::contentsChange, this, [this](int from, int, int added) {
        cachedText.reset();
        carryOut(coordinator.contentsChanged({from, added}, textCursor(), hasMarkedText()));
    });
    connect(this, &QTextEdit::textChanged, this, [this] {
        cachedText.reset();
        if (coordinator.isApplying())
            return;
        carryOut(coordinator.textChanged(textCursor(), hasMarkedText()));
        Q_EMIT edited();
    });
    const auto selectionMoved = [this] {
        carryOut(coordinator.selectionChanged(textCursor(), hasMarkedText()));
    };
    connect(this, &QTextEdit::cursorPositionChanged, this, selectionMoved);
    connect(this, &QTextEdit::selectionChanged, this, selectionMoved);

    overlays = new NoteImageOverlays(this);
    setBridge(bridge);
    configure();
}

NoteTextView::~NoteTextView() = default;

QString NoteTextView::text() const
{
    if (!cachedText)
        cachedText = EditorRanges::text(*document(), {0, EditorRanges::length(*document())});
    return *cachedText;
}

void NoteTextView::setText(const QString& incoming)
{
    // A body with CR LF breaks reads back with LF: the same text, not a change to apply
    // again on every update. The composition would lose its place: the text waits.
    const QString newText = asDocumentHolds(incoming);
    if (hasMarkedText() || newText == text())
        return;
    const TextRange selection = selectedRange();
    {
        EditorCoordinator::Applying applying(coordinator);
        // A text replaced from outside starts a fresh history, as a newly opened note does.
        setPlainText(newText);
        const qsizetype length = EditorRanges::length(*document());
        QTextCursor cursor = textCursor();
        cursor.setPosition(static_cast<int>(std::min(selection.location, length)));
        cursor.setPosition(static_cast<int>(std::min(selection.end(), length)),
                           QTextCursor::KeepAnchor);
        setTextCursor(cursor);
        coordinator.textReplaced();
    }
    configure();
}

void NoteTextView::applyLook(const QColor& ink, const QColor& paper, const QString& fontName,
                             double fontSize, bool markdown, NoteTextDirection direction)
{
    Configuration next = config;
    next.ink = ink;
    next.fontSize = fontSize;
    next.markdownEnabled = markdown;
    next.textDirection = direction;
    next.styleToken =
        QStringLiteral("%1|%2|%3|%4").arg(fontName).arg(fontSize).arg(markdown).arg(paper.name());
    if (next.styleToken != config.styleToken || next.textDirection != config.textDirection)
        setConfiguration(std::move(next));
}

void NoteTextView::setConfiguration(Configuration configuration)
{
    Q_ASSERT(configuration.bodyFont);
    config = std::move(configuration);
    configure();
}

void NoteTextView::configure()
{
    const QString stamp = config.styleToken + u'|' + TextDirection::rawValue(config.textDirection);
    carryOut(coordinator.configure(stamp, config.markdownEnabled, textCursor(), hasMarkedText()));
}

void NoteTextView::setBridge(EditorBridge* newBridge)
{
    bridge = newBridge;
    if (bridge && bridge->textView() != this)
        bridge->setTextView(this);
}

void NoteTextView::focusSoon()
{
    QMetaObject::invokeMethod(
        this, [this] { takeFocus(); }, Qt::QueuedConnection);
}

bool NoteTextView::hasMarkedText() const
{
    const QTextBlock block = textCursor().block();
    return block.isValid() && block.layout() && !block.layout()->preeditAreaText().isEmpty();
}

void NoteTextView::observeText(QObject* context, std::function<void()> onEdited,
                               std::function<void()> onCompositionEnded)
{
    connect(this, &NoteTextView::edited, context, std::move(onEdited));
    connect(this, &NoteTextView::compositionEnded, context, std::move(onCompositionEnded));
}

void NoteTextView::clearRevealedImage()
{
    carryOut(coordinator.clearRevealedImage(textCursor(), hasMarkedText()));
}

void NoteTextView::restyle(const QList<TextRange>& ranges)
{
    carryOut(coordinator.restyle(ranges, textCursor(), hasMarkedText()));
}

void NoteTextView::carryOut(const EditorCoordinator::Answer& answer)
{
    if (!answer)
        return;
    if (answer->full) {
        QPalette p = palette();
        if (p.color(QPalette::Text) != config.ink) {
            p.setColor(QPalette::Text, config.ink);
            setPalette(p);
        }
        const QFont body = config.bodyFont(config.fontSize);
        if (font() != body)
            setFont(body);
    }
    EditorStyleEngine::Options options;
    options.ink = config.ink;
    options.size = config.fontSize;
    options.markdownEnabled = config.markdownEnabled;
    options.textDirection = config.textDirection;
    options.bodyFont = config.bodyFont;
    options.isCompletedTask = [](QStringView line) { return Tasks::marker(line) == Tasks::done; };
    options.reservedLineHeight = [this](const ImageToken& token) {
        return overlays ? overlays->reservedLineHeight(token) : 0.0;
    };
    EditorStyleEngine::Report report;
    {
        EditorCoordinator::Applying applying(coordinator);
        report = EditorStyleEngine::apply(*document(), answer->ranges, answer->revealing,
                                          answer->forceRevealImageID, options, styleCache);
    }
    if (overlays)
        overlays->stylesApplied(report);
}

// --- The bridge's view -----------------------------------------------------------------------

TextRange NoteTextView::selectedRange() const
{
    const QTextCursor cursor = textCursor();
    return {cursor.selectionStart(), cursor.selectionEnd() - cursor.selectionStart()};
}

bool NoteTextView::replaceText(TextRange range, const QString& replacement)
{
    if (isReadOnly())
        return false;
    const qsizetype length = EditorRanges::length(*document());
    QTextCursor cursor(document());
    cursor.setPosition(static_cast<int>(std::clamp<qsizetype>(range.location, 0, length)));
    cursor.setPosition(static_cast<int>(std::clamp<qsizetype>(range.end(), 0, length)),
                       QTextCursor::KeepAnchor);
    cursor.beginEditBlock();
    if (replacement.isEmpty())
        cursor.removeSelectedText();
    else
        cursor.insertText(replacement);
    cursor.endEditBlock();
    return true;
}

void NoteTextView::showFoundRange(TextRange range)
{
    QTextCursor cursor = textCursor();
    cursor.setPosition(static_cast<int>(range.location));
    cursor.setPosition(static_cast<int>(range.end()), QTextCursor::KeepAnchor);
    setTextCursor(cursor);
    ensureCursorVisible();
    flash(range);
}

namespace {

constexpr int flashMilliseconds = 700;
const QColor flashColour(255, 210, 40);
constexpr std::array<std::pair<QPalette::ColorGroup, QPalette::ColorRole>, 4> selectionColours{{
    {QPalette::Active, QPalette::Highlight},
    {QPalette::Active, QPalette::HighlightedText},
    {QPalette::Inactive, QPalette::Highlight},
    {QPalette::Inactive, QPalette::HighlightedText},
}};

QColor mixed(const QColor& from, const QColor& to, double progress)
{
    const auto mix = [progress](float a, float b) { return a + (b - a) * float(progress); };
    return QColor::fromRgbF(mix(from.redF(), to.redF()), mix(from.greenF(), to.greenF()),
                            mix(from.blueF(), to.blueF()), mix(from.alphaF(), to.alphaF()));
}

} // namespace

// The found range lights up and fades into the selection's own colour. The view's selection
// paints over every extra selection, so while the flash runs it lends its colours to the
// flash and paints nothing itself; when the flash ends it takes them back.
void NoteTextView::flash(TextRange range)
{
    if (!findFlash) {
        findFlash = new QVariantAnimation(this);
        findFlash->setDuration(flashMilliseconds);
        findFlash->setStartValue(0.0);
        findFlash->setEndValue(1.0);
        findFlash->setEasingCurve(QEasingCurve::InQuad);
        connect(findFlash, &QVariantAnimation::valueChanged, this,
                [this](const QVariant& progress) { paintFlash(progress.toDouble()); });
        connect(findFlash, &QVariantAnimation::finished, this, &NoteTextView::endFlash);
    }
    flashed = QTextCursor(document());
    flashed.setPosition(static_cast<int>(range.location));
    flashed.setPosition(static_cast<int>(range.end()), QTextCursor::KeepAnchor);
    if (!lentSelection) {
        QPalette p = palette();
        std::array<QBrush, 4> kept;
        for (std::size_t i = 0; i < selectionColours.size(); ++i) {
            const auto [group, role] = selectionColours[i];
            kept[i] = p.brush(group, role);
            p.setBrush(group, role,
                       role == QPalette::Highlight ? QBrush(Qt::transparent)
                                                   : p.brush(group, QPalette::Text));
        }
        lentSelection = kept;
        setPalette(p);
    }
    findFlash->stop();
    findFlash->start();
    paintFlash(0);
}

void NoteTextView::paintFlash(double progress)
{
    if (!lentSelection)
        return;
    const std::size_t group = hasFocus() ? 0 : 2;
    QTextEdit::ExtraSelection selection;
    selection.cursor = flashed;
    selection.format.setBackground(mixed(flashColour, (*lentSelection)[group].color(), progress));
    selection.format.setForeground(
        mixed(config.ink, (*lentSelection)[group + 1].color(), progress));
    setSelectionLayer(u"find"_s, {selection});
}

void NoteTextView::endFlash()
{
    setSelectionLayer(u"find"_s, {});
    if (!lentSelection)
        return;
    QPalette p = palette();
    for (std::size_t i = 0; i < selectionColours.size(); ++i)
        p.setBrush(selectionColours[i].first, selectionColours[i].second, (*lentSelection)[i]);
    lentSelection.reset();
    setPalette(p);
}

void NoteTextView::takeFocus()
{
    if (window())
        setFocus(Qt::OtherFocusReason);
}

void NoteTextView::moveCaret(qsizetype position)
{
    QTextCursor cursor = textCursor();
    cursor.setPosition(static_cast<int>(std::min(position, EditorRanges::length(*document()))));
    setTextCursor(cursor);
}

void NoteTextView::placeCaretBehind(TextRange token)
{
    moveCaret(ImageCaret::positionBehind(*document(), token));
}

void NoteTextView::setSelectionLayer(const QString& name,
                                     const QList<QTextEdit::ExtraSelection>& selections)
{
    if (selections.isEmpty()) {
        if (selectionLayers.remove(name) == 0)
            return;
    } else {
        selectionLayers.insert(name, selections);
    }
    QList<QTextEdit::ExtraSelection> merged;
    for (const QList<QTextEdit::ExtraSelection>& layer : std::as_const(selectionLayers))
        merged.append(layer);
    setExtraSelections(merged);
}

void NoteTextView::checkSpelling(SpellChecker& checker, Scheduler& scheduler)
{
    speller.reset();
    speller = std::make_unique<NoteSpellCheck>(
        *this, checker, scheduler, [this](const QList<QTextEdit::ExtraSelection>& selections) {
            setSelectionLayer(QStringLiteral("spelling"), selections);
        });
}

QList<QTextEdit::ExtraSelection> NoteTextView::selectionLayer(const QString& name) const
{
    return selectionLayers.value(name);
}

// --- Keyboard ---------------------------------------------------------------------------------

namespace {

// Whether Qt's text control would type the key's text (QInputControl::isAcceptableInput, which
// is private): Tab, a letter with Alt, a formatting character, not Ctrl with a letter.
bool typesText(const QKeyEvent& event)
{
    const QString text = event.text();
    if (text.isEmpty())
        return false;
    const QChar c = text.front();
    if (c.category() == QChar::Other_Format)
        return true;
    const Qt::KeyboardModifiers mods = event.modifiers() & ~Qt::KeypadModifier;
    if (mods == Qt::ControlModifier || mods == (Qt::ShiftModifier | Qt::ControlModifier))
        return false;
    return c.isPrint() || c.category() == QChar::Other_PrivateUse || c == u'\t'
           || (c.isHighSurrogate() && text.size() > 1 && text.at(1).isLowSurrogate());
}

} // namespace

void NoteTextView::keyPressEvent(QKeyEvent* event)
{
    if (hasMarkedText()) {
        QTextEdit::keyPressEvent(event);
        return;
    }
    const Qt::KeyboardModifiers mods = event->modifiers() & ~Qt::KeypadModifier;
    const bool plain = (mods & ~Qt::ShiftModifier) == Qt::NoModifier;
    const int key = event->key();
    // Every arrow, by character or by word, selecting or not. Which way the caret went is read
    // from where it lands, not from the key: in a right-to-left line Left goes forward.
    if (key == Qt::Key_Left || key == Qt::Key_Right || key == Qt::Key_Up || key == Qt::Key_Down) {
        const qsizetype from = textCursor().position();
        QTextEdit::keyPressEvent(event);
        const qsizetype to = textCursor().position();
        const ImageCaret::Edge edge = key == Qt::Key_Up || key == Qt::Key_Down
                                          ? ImageCaret::Edge::Nearest
                                          : ImageCaret::edgeOfMove(from, to);
        if (const auto position = ImageCaret::snapped(textCursor(), edge)) {
            QTextCursor cursor = textCursor();
            cursor.setPosition(cursor.anchor());
            cursor.setPosition(static_cast<int>(*position), QTextCursor::KeepAnchor);
            setTextCursor(cursor);
        }
        return;
    }
    if ((key == Qt::Key_Backspace && plain)
        || (key == Qt::Key_Delete && event->matches(QKeySequence::Delete))) {
        if (!revealTokenBeforeDelete(key == Qt::Key_Backspace, ImageCaret::Unit::Character))
            QTextEdit::keyPressEvent(event);
        return;
    }
    if (event->matches(QKeySequence::DeleteStartOfWord)
        || event->matches(QKeySequence::DeleteEndOfWord)) {
        const bool backward = event->matches(QKeySequence::DeleteStartOfWord);
        if (!revealTokenBeforeDelete(backward, ImageCaret::Unit::Word))
            QTextEdit::keyPressEvent(event);
        return;
    }
    if ((key == Qt::Key_Return || key == Qt::Key_Enter) && plain) {
        cancelImageRevealIfSelected();
        if (continueTaskList())
            return;
        // Shift+Return would put a line separator (U+2028) inside the paragraph; a note
        // knows only line breaks.
        QKeyEvent unshifted(event->type(), key, Qt::NoModifier, event->text());
        QTextEdit::keyPressEvent(&unshifted);
        return;
    }
    if (typesText(*event))
        cancelImageRevealIfSelected();
    QTextEdit::keyPressEvent(event);
}

void NoteTextView::inputMethodEvent(QInputMethodEvent* event)
{
    const bool wasComposing = hasMarkedText();
    // Qt's control removes the selection before it takes a pre-edit, a commit or a
    // replacement: a picture shown for deletion would go with the first syllable.
    const QTextBlock block = textCursor().block();
    const QString preedit =
        block.isValid() && block.layout() ? block.layout()->preeditAreaText() : QString();
    if (!event->commitString().isEmpty() || event->preeditString() != preedit
        || event->replacementLength() > 0)
        cancelImageRevealIfSelected();
    QTextEdit::inputMethodEvent(event);
    const bool composing = hasMarkedText();
    carryOut(coordinator.inputMethodHandled(wasComposing, textCursor(), composing));
    if (wasComposing && !composing)
        Q_EMIT compositionEnded();
}

// A hidden picture never goes with one unseen keystroke: the first Backspace or Delete
// selects its token and shows its text, the second removes it.
bool NoteTextView::revealTokenBeforeDelete(bool backward, ImageCaret::Unit unit)
{
    const std::optional<TextRange> token =
        coordinator.revealBeforeDelete(textCursor(), backward, unit);
    if (!token)
        return false;
    QTextCursor selection = textCursor();
    selection.setPosition(static_cast<int>(token->location));
    selection.setPosition(static_cast<int>(token->end()), QTextCursor::KeepAnchor);
    setTextCursor(selection);
    restyle({EditorRanges::lineRange(token->location, *document())});
    return true;
}

// Typing after a reveal adds text instead of replacing the picture.
bool NoteTextView::cancelImageRevealIfSelected()
{
    const std::optional<qsizetype> behind = coordinator.cancelRevealIfSelected(textCursor());
    if (behind)
        moveCaret(*behind);
    return behind.has_value();
}

bool NoteTextView::continueTaskList()
{
    const TextRange selection = selectedRange();
    const TextRange line = EditorRanges::lineRangeForRange(selection, *document());
    QString lineText = EditorRanges::text(*document(), line);
    while (!lineText.isEmpty() && (lineText.back() == u'\n' || lineText.back() == u'\r'))
        lineText.chop(1);
    if (!Tasks::isTask(lineText))
        return false;
    if (!Tasks::stripped(lineText).isEmpty()) {
        if (replaceText(selection, u"\n"_s + Tasks::openPrefix))
            moveCaret(selection.location + 1 + Tasks::openPrefix.size());
    } else if (replaceText(line, QString())) {
        // An empty task ends the list.
        moveCaret(line.location);
    }
    ensureCursorVisible();
    return true;
}

// --- Mouse --------------------------------------------------------------------------------------

qsizetype NoteTextView::characterIndexAt(const QPoint& viewportPoint) const
{
    return cursorForPosition(viewportPoint).position();
}

std::optional<QRectF> NoteTextView::boxRect(qsizetype lineStart) const
{
    const QTextBlock block = document()->findBlock(static_cast<int>(lineStart));
    if (!block.isValid() || !block.layout())
        return std::nullopt;
    const int local = static_cast<int>(lineStart - block.position());
    const QTextLine line = block.layout()->lineForTextPosition(local);
    if (!line.isValid())
        return std::nullopt;
    const qreal a = line.cursorToX(local);
    const qreal b = line.cursorToX(local + 1);
    const QPointF origin = document()->documentLayout()->blockBoundingRect(block).topLeft()
                           - QPointF(horizontalScrollBar()->value(), verticalScrollBar()->value());
    return QRectF(std::min(a, b), line.y(), std::abs(b - a), line.height()).translated(origin);
}

bool NoteTextView::toggleBox(const QPoint& viewportPoint)
{
    const qsizetype length = EditorRanges::length(*document());
    if (length == 0)
        return false;
    const qsizetype index = std::clamp<qsizetype>(characterIndexAt(viewportPoint), 0, length - 1);
    const TextRange line = EditorRanges::lineRange(index, *document());
    const QString first = charAt(*document(), line.location);
    if (first.isEmpty() || !Tasks::isTask(first))
        return false;
    const auto rect = boxRect(line.location);
    if (!rect || !rect->adjusted(-4, -3, 4, 3).contains(viewportPoint))
        return false;
    const QChar other = first.front() == Tasks::open ? Tasks::done : Tasks::open;
    replaceText({line.location, 1}, QString(1, other));
    return true;
}

bool NoteTextView::openLink(const QPoint& viewportPoint)
{
    const qsizetype length = EditorRanges::length(*document());
    if (length == 0)
        return false;
    const qsizetype index = std::clamp<qsizetype>(characterIndexAt(viewportPoint), 0, length - 1);
    const auto url = MarkdownRuns::openableURL(EditorStyleEngine::linkAt(*document(), index));
    if (!url)
        return false;
    desktop.openUrl(*url);
    return true;
}

void NoteTextView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        const QPoint point = event->position().toPoint();
        if (toggleBox(point)) {
            event->accept();
            return;
        }
        if ((event->modifiers() & Qt::ControlModifier) && openLink(point)) {
            event->accept();
            return;
        }
    }
    QTextEdit::mousePressEvent(event);
}

void NoteTextView::mouseMoveEvent(QMouseEvent* event)
{
    QTextEdit::mouseMoveEvent(event);
    if (event->buttons() != Qt::NoButton)
        return;
    const QPoint point = event->position().toPoint();
    bool pointing = false;
    const qsizetype length = EditorRanges::length(*document());
    if (length > 0) {
        const qsizetype index = std::clamp<qsizetype>(characterIndexAt(point), 0, length - 1);
        const TextRange line = EditorRanges::lineRange(index, *document());
        if (Tasks::isTask(charAt(*document(), line.location))) {
            const auto rect = boxRect(line.location);
            pointing = rect && rect->adjusted(-3, -2, 3, 2).contains(point);
        }
        if (!pointing)
            pointing = !EditorStyleEngine::linkAt(*document(), index).isEmpty();
    }
    viewport()->setCursor(pointing ? Qt::PointingHandCursor : Qt::IBeamCursor);
}

void NoteTextView::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu* menu = createStandardContextMenu(event->pos());
    menu->addSeparator();
    menu->addAction(L10n::text(u"menu.insert_image"_s), this, &NoteTextView::insertImageFromPanel);
    menu->exec(event->globalPos());
    delete menu;
}

// --- Images in
// ------------------------------------------------------------------------------------

bool NoteTextView::canInsertFromMimeData(const QMimeData* source) const
{
    return ImagePasteboard::canProvideImage(source) || QTextEdit::canInsertFromMimeData(source);
}

void NoteTextView::insertFromMimeData(const QMimeData* source)
{
    cancelImageRevealIfSelected();
    const QStringList ids = ImagePasteboard::imageIDs(source, images);
    if (ids.isEmpty()) {
        QTextEdit::insertFromMimeData(source);
        return;
    }
    QStringList tokens;
    for (const QString& id : ids)
        tokens.append(ImageTokens::token(id));
    insertImageTokens(tokens);
}

void NoteTextView::dragEnterEvent(QDragEnterEvent* event)
{
    QTextEdit::dragEnterEvent(event);
    if (ImagePasteboard::canProvideImage(event->mimeData())) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    }
}

void NoteTextView::dragMoveEvent(QDragMoveEvent* event)
{
    QTextEdit::dragMoveEvent(event);
    if (ImagePasteboard::canProvideImage(event->mimeData())) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    }
}

void NoteTextView::insertImageTokens(const QStringList& tokens)
{
    if (tokens.isEmpty())
        return;
    const qsizetype length = EditorRanges::length(*document());
    TextRange selection = selectedRange();
    if (selection.location == TextRange::NotFound)
        selection = {length, 0};
    selection.location = std::clamp<qsizetype>(selection.location, 0, length);
    selection.length = std::clamp<qsizetype>(selection.length, 0, length - selection.location);
    QString insertion = tokens.join(u'\n') + u'\n';
    if (selection.location > 0 && charAt(*document(), selection.location - 1) != u"\n"_s)
        insertion.prepend(u'\n');
    if (selection.end() < length && charAt(*document(), selection.end()) != u"\n"_s)
        insertion.append(u'\n');
    if (!replaceText(selection, insertion))
        return;
    QTextCursor cursor = textCursor();
    cursor.setPosition(static_cast<int>(selection.location + insertion.size()));
    setTextCursor(cursor);
    ensureCursorVisible();
}

void NoteTextView::insertImageFiles(const QStringList& paths)
{
    QStringList tokens;
    for (const QString& path : paths) {
        if (const auto id = ImagePasteboard::saveFile(path, images))
            tokens.append(ImageTokens::token(*id));
    }
    insertImageTokens(tokens);
}

void NoteTextView::insertImageFromPanel()
{
    QFileDialog dialog(this, L10n::text(u"menu.insert_image"_s));
    dialog.setFileMode(QFileDialog::ExistingFiles);
    QStringList patterns;
    for (const QByteArray& format : QImageReader::supportedImageFormats())
        patterns.append(u"*."_s + QString::fromLatin1(format));
    dialog.setNameFilter(patterns.join(u' '));
    if (dialog.exec() == QDialog::Accepted)
        insertImageFiles(dialog.selectedFiles());
}

void NoteTextView::resizeEvent(QResizeEvent* event)
{
    QTextEdit::resizeEvent(event);
    if (overlays)
        overlays->refresh();
}
