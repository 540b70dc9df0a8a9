#include "editor/ui/NoteImageOverlays.h"

#include "editor/EditorRanges.h"
#include "editor/EditorStyleEngine.h"
#include "images/ImageStore.h"
#include "editor/ui/NoteTextView.h"
#include "editor/ui/NoteImageHandleWidget.h"
#include "editor/ui/NoteImageOverlayWidget.h"

#include <QAbstractTextDocumentLayout>
#include <QScrollBar>
#include <QSet>
#include <QTextBlock>
#include <QTextBlockUserData>
#include <QTextLayout>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

QString slotKey(qsizetype location, const QString& id)
{
    return QString::number(location) + u':' + id;
}

} // namespace

// The blocks that hold image tokens, so that a refresh after a keystroke looks at those
// blocks only, not at the whole note. Each such block carries a mark as its user data; Qt
// deletes the mark with the block, and the mark leaves the set.
struct NoteImageOverlays::TokenBlocks {
    class Mark final : public QTextBlockUserData {
    public:
        Mark(std::shared_ptr<TokenBlocks> owner, const QTextBlock& block)
            : owner(std::move(owner))
            , block(block)
        {
            this->owner->marks.insert(this);
        }
        ~Mark() override { owner->marks.remove(this); }

        std::shared_ptr<TokenBlocks> owner;
        QTextBlock block;
    };

    QSet<Mark*> marks;
};

NoteImageOverlays::NoteImageOverlays(NoteTextView* textView)
    : QObject(textView)
    , view(textView)
    , blocks(std::make_shared<TokenBlocks>())
{
    connect(textView->verticalScrollBar(), &QScrollBar::valueChanged, this, &NoteImageOverlays::reposition);
    connect(textView->document()->documentLayout(), &QAbstractTextDocumentLayout::documentSizeChanged,
            this, &NoteImageOverlays::scheduleReposition);
    connect(textView->document()->documentLayout(), &QAbstractTextDocumentLayout::update, this,
            &NoteImageOverlays::scheduleReposition);
}

NoteImageOverlays::~NoteImageOverlays()
{
    // The marks may outlive this object inside the document; they only hold the shared set.
}

double NoteImageOverlays::containerWidth() const
{
    if (!view)
        return NoteImageMetrics::defaultMaxWidth;
    const double width = view->document()->textWidth() - 2 * view->document()->documentMargin();
    return width > 0 ? width : NoteImageMetrics::defaultMaxWidth;
}

NoteImageMetrics::DisplaySize NoteImageOverlays::sizeFor(const ImageToken& token) const
{
    if (auto it = dragSizes.constFind(slotKey(token.range.location, token.id)); it != dragSizes.cend())
        return *it;
    std::optional<QSize> pixels;
    if (const std::optional<QImage> image = view->imageStore().image(token.id))
        pixels = image->size();
    return NoteImageMetrics::displaySize(pixels, token.width, containerWidth());
}

double NoteImageOverlays::reservedLineHeight(const ImageToken& token)
{
    return sizeFor(token).height + 2 * NoteImageMetrics::verticalPadding;
}

void NoteImageOverlays::stylesApplied(const QList<TextRange>& ranges)
{
    if (!view)
        return;
    QTextDocument& document = *view->document();
    for (const TextRange& range : ranges) {
        for (QTextBlock block = document.findBlock(static_cast<int>(range.location)); block.isValid();
             block = block.next()) {
            if (block.position() > range.end())
                break;
            const bool holdsToken = block.text().contains(u"![image"_s)
                && !ImageTokens::tokens(block.text()).isEmpty();
            auto* mark = dynamic_cast<TokenBlocks::Mark*>(block.userData());
            if (holdsToken && !mark)
                block.setUserData(new TokenBlocks::Mark(blocks, block));
            else if (!holdsToken && mark)
                block.setUserData(nullptr);
        }
    }
    refresh();
}

QList<ImageToken> NoteImageOverlays::currentTokens() const
{
    QList<ImageToken> result;
    if (!view)
        return result;
    const QTextDocument& document = *view->document();
    for (const TokenBlocks::Mark* mark : std::as_const(blocks->marks)) {
        if (!mark->block.isValid())
            continue;
        const qsizetype start = mark->block.position();
        for (ImageToken token : ImageTokens::tokens(mark->block.text())) {
            token.range.location += start;
            // A token that shows as text (Markdown off, or revealed for deletion) has no picture.
            if (EditorStyleEngine::isHidden(document, token.range.location))
                result.append(token);
        }
    }
    std::sort(result.begin(), result.end(), [](const ImageToken& a, const ImageToken& b) {
        return a.range.location < b.range.location;
    });
    return result;
}

void NoteImageOverlays::refresh()
{
    if (!view || isRefreshing)
        return;
    isRefreshing = true;
    // A line whose reserved room no longer fits its picture (a file arrived, the view got
    // narrower, a resize is under way) is restyled; the engine asks reservedLineHeight again.
    QList<TextRange> stale;
    const QTextDocument& document = *view->document();
    for (const ImageToken& token : currentTokens()) {
        const double wanted = reservedLineHeight(token);
        const double reserved = EditorStyleEngine::styledFormat(document, token.range.location)
                                    .doubleProperty(EditorStyleEngine::reservedHeightProperty);
        if (std::abs(wanted - reserved) > 0.01)
            stale.append(EditorRanges::lineRange(token.range.location, document));
    }
    if (!stale.isEmpty())
        view->restyle(stale);
    isRefreshing = false;
    reposition();
}

void NoteImageOverlays::scheduleReposition()
{
    if (repositionQueued)
        return;
    repositionQueued = true;
    QMetaObject::invokeMethod(this, [this] {
        repositionQueued = false;
        reposition();
    }, Qt::QueuedConnection);
}

void NoteImageOverlays::reposition()
{
    if (!view || isRepositioning)
        return;
    isRepositioning = true;
    QTextDocument& document = *view->document();
    QAbstractTextDocumentLayout* layout = document.documentLayout();
    const QPointF scroll(view->horizontalScrollBar()->value(), view->verticalScrollBar()->value());

    QHash<QString, Slot> next;
    QHash<QString, QRect> frames;
    for (const ImageToken& token : currentTokens()) {
        const QTextBlock block = document.findBlock(static_cast<int>(token.range.location));
        const QRectF blockRect = layout->blockBoundingRect(block); // lays the block out
        const int local = static_cast<int>(token.range.location - block.position());
        const QTextLine line = block.layout()->lineForTextPosition(local);
        if (!line.isValid() || line.height() <= 0)
            continue;
        const NoteImageMetrics::DisplaySize size = sizeFor(token);
        const QPointF origin = blockRect.topLeft() - scroll
            + QPointF(line.naturalTextRect().left(), line.y() + NoteImageMetrics::verticalPadding);
        const QString key = slotKey(token.range.location, token.id);
        next.insert(key, Slot{token.id, token.range, size.width, size.height, size.hasFile});
        frames.insert(key, QRectF(origin, QSizeF(size.width, size.height)).toAlignedRect());
    }

    for (auto it = overlays.begin(); it != overlays.end();) {
        const auto slot = next.constFind(it.key());
        if (slot == next.cend() || slot->hasFile != (*it)->hasFile()) {
            delete *it;
            it = overlays.erase(it);
        } else {
            ++it;
        }
    }
    for (auto it = next.cbegin(); it != next.cend(); ++it) {
        NoteImageOverlayWidget*& overlay = overlays[it.key()];
        if (!overlay) {
            const QImage picture =
                it->hasFile ? view->imageStore().image(it->id).value_or(QImage()) : QImage();
            overlay = new NoteImageOverlayWidget(view->viewport(), it->id, picture);
            const QString key = it.key();
            overlay->onSelect = [this, key] { select(key); };
            overlay->handle()->onDrag = [this, key](QPointF point, bool last) { drag(key, point, last); };
            overlay->show();
        }
        overlay->setGeometry(frames.value(it.key()));
    }
    slots = next;
    isRepositioning = false;
}

QList<NoteImageOverlays::Slot> NoteImageOverlays::slotList() const
{
    QList<Slot> list = slots.values();
    std::sort(list.begin(), list.end(), [](const Slot& a, const Slot& b) {
        return a.tokenRange.location < b.tokenRange.location;
    });
    return list;
}

QList<NoteImageOverlayWidget*> NoteImageOverlays::widgets() const
{
    QList<NoteImageOverlayWidget*> list = overlays.values();
    std::sort(list.begin(), list.end(), [](const QWidget* a, const QWidget* b) { return a->y() < b->y(); });
    return list;
}

std::optional<ImageToken> NoteImageOverlays::tokenNearest(const Slot& slot) const
{
    if (!view)
        return std::nullopt;
    const QTextDocument& document = *view->document();
    std::optional<ImageToken> best;
    // Tokens stay on their line, and an edit moves a line by at most the edit's size: look
    // through the note only when the line no longer holds it.
    const TextRange line = EditorRanges::lineRange(slot.tokenRange.location, document);
    QList<ImageToken> candidates = ImageTokens::tokens(EditorRanges::text(document, line));
    qsizetype offset = line.location;
    if (std::none_of(candidates.begin(), candidates.end(), [&](const ImageToken& t) { return t.id == slot.id; })) {
        candidates = ImageTokens::tokens(view->text());
        offset = 0;
    }
    for (ImageToken token : candidates) {
        token.range.location += offset;
        if (token.id != slot.id)
            continue;
        if (!best || std::abs(token.range.location - slot.tokenRange.location)
                < std::abs(best->range.location - slot.tokenRange.location))
            best = token;
    }
    return best;
}

void NoteImageOverlays::select(const QString& key)
{
    for (auto it = overlays.cbegin(); it != overlays.cend(); ++it)
        (*it)->setSelected(it.key() == key);
    const auto slot = slots.constFind(key);
    if (!view || slot == slots.cend())
        return;
    if (const auto token = tokenNearest(*slot))
        view->placeCaretBehind(token->range);
    // Typing goes on below the picture.
    view->setFocus(Qt::MouseFocusReason);
}

void NoteImageOverlays::drag(const QString& key, QPointF point, bool last)
{
    auto slot = slots.find(key);
    NoteImageOverlayWidget* overlay = overlays.value(key);
    if (!view || slot == slots.end() || !overlay)
        return;
    const double container = std::max(containerWidth(), NoteImageMetrics::minWidth);
    const double width =
        std::min(std::max(point.x() - overlay->x(), NoteImageMetrics::minWidth), container);
    if (std::abs(width - slot->width) > 0.25 && slot->height > 0) {
        // The slot's aspect is kept, so a placeholder scales like a picture.
        slot->height = slot->height * width / slot->width;
        slot->width = width;
        overlay->resize(QSizeF(slot->width, slot->height).toSize());
        dragSizes.insert(key, {slot->width, slot->height, slot->hasFile});
        view->restyle({EditorRanges::lineRange(slot->tokenRange.location, *view->document())});
    }
    if (last) {
        const Slot finished = slots.value(key);
        dragSizes.remove(key);
        commitWidth(finished);
    }
}

void NoteImageOverlays::commitWidth(const Slot& slot)
{
    const auto token = tokenNearest(slot);
    if (!token)
        return;
    const QString replacement = ImageTokens::token(token->id, std::round(slot.width));
    if (EditorRanges::text(*view->document(), token->range) == replacement)
        return;
    TextRange selection = view->selectedRange();
    if (!view->replaceText(token->range, replacement))
        return;
    const qsizetype delta = replacement.size() - token->range.length;
    if (selection.location >= token->range.end())
        selection.location += delta;
    QTextCursor cursor = view->textCursor();
    cursor.setPosition(static_cast<int>(selection.location));
    cursor.setPosition(static_cast<int>(selection.end()), QTextCursor::KeepAnchor);
    view->setTextCursor(cursor);
}
