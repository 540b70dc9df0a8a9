#include "editor/ui/NoteImageOverlays.h"

#include "editor/EditorRanges.h"
#include "editor/ui/NoteImageHandleWidget.h"
#include "editor/ui/NoteImageOverlayWidget.h"
#include "editor/ui/NoteTextView.h"
#include "images/ImageStore.h"

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

// The blocks that hold hidden image tokens, each with the tokens the last pass over it hid
// (at positions within the block) and the room it reserved for them, so that placing the
// pictures after a keystroke looks at those blocks only, not at the whole note. Each such
// block carries a mark as its user data; Qt deletes the mark with the block, and the mark
// leaves the set.
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
        QList<EditorStyleEngine::ReservedImage> images;
    };

    QSet<Mark*> marks;
};

NoteImageOverlays::NoteImageOverlays(NoteTextView* textView)
    : QObject(textView)
    , view(textView)
    , blocks(std::make_shared<TokenBlocks>())
{
    placeSoon.setSingleShot(true);
    placeSoon.setInterval(0);
    refreshSoon.setSingleShot(true);
    refreshSoon.setInterval(0);
    connect(&placeSoon, &QTimer::timeout, this, &NoteImageOverlays::place);
    connect(&refreshSoon, &QTimer::timeout, this, &NoteImageOverlays::refresh);
    connect(textView->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &NoteImageOverlays::place);
    QAbstractTextDocumentLayout* layout = textView->document()->documentLayout();
    connect(layout, &QAbstractTextDocumentLayout::documentSizeChanged, &placeSoon,
            qOverload<>(&QTimer::start));
    connect(layout, &QAbstractTextDocumentLayout::update, &placeSoon, qOverload<>(&QTimer::start));
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
    if (auto it = dragSizes.constFind(slotKey(token.range.location, token.id));
        it != dragSizes.cend())
        return *it;
    return NoteImageMetrics::displaySize(view->imageStore().pixelSize(token.id), token.width,
                                         containerWidth());
}

double NoteImageOverlays::reservedLineHeight(const ImageToken& token) const
{
    return sizeFor(token).height + 2 * NoteImageMetrics::verticalPadding;
}

bool NoteImageOverlays::fits(const EditorStyleEngine::ReservedImage& image) const
{
    return std::abs(reservedLineHeight(image.token) - image.height) <= 0.01;
}

void NoteImageOverlays::stylesApplied(const EditorStyleEngine::Report& report)
{
    if (!view)
        return;
    QTextDocument& document = *view->document();
    qsizetype next = 0; // the report's images are in text order, as are its ranges
    for (const TextRange& range : report.styled) {
        for (QTextBlock block = document.findBlock(static_cast<int>(range.location));
             block.isValid() && block.position() < range.end(); block = block.next()) {
            const qsizetype start = block.position();
            auto* mark = dynamic_cast<TokenBlocks::Mark*>(block.userData());
            // What the pass did not cover of the block stays (lines split by U+2028).
            QList<EditorStyleEngine::ReservedImage> images;
            if (mark) {
                for (const auto& image : std::as_const(mark->images)) {
                    const qsizetype at = start + image.token.range.location;
                    if (at < range.location || at >= range.end())
                        images.append(image);
                }
            }
            const qsizetype end = std::min(range.end(), start + block.length());
            for (; next < report.images.size() && report.images[next].token.range.location < end;
                 ++next) {
                EditorStyleEngine::ReservedImage image = report.images[next];
                image.token.range.location -= start;
                images.append(image);
            }
            std::sort(images.begin(), images.end(), [](const auto& a, const auto& b) {
                return a.token.range.location < b.token.range.location;
            });
            if (images.isEmpty()) {
                if (mark)
                    block.setUserData(nullptr);
                continue;
            }
            if (!mark) {
                mark = new TokenBlocks::Mark(blocks, block);
                block.setUserData(mark);
            }
            mark->images = images;
        }
    }
    place();
}

QList<EditorStyleEngine::ReservedImage> NoteImageOverlays::placedImages() const
{
    QList<EditorStyleEngine::ReservedImage> result;
    for (const TokenBlocks::Mark* mark : std::as_const(blocks->marks)) {
        if (!mark->block.isValid())
            continue;
        for (EditorStyleEngine::ReservedImage image : mark->images) {
            image.token.range.location += mark->block.position();
            result.append(image);
        }
    }
    std::sort(result.begin(), result.end(), [](const auto& a, const auto& b) {
        return a.token.range.location < b.token.range.location;
    });
    return result;
}

void NoteImageOverlays::refresh()
{
    if (!view)
        return;
    QList<TextRange> stale;
    for (const EditorStyleEngine::ReservedImage& image : placedImages()) {
        if (!fits(image))
            stale.append(EditorRanges::lineRange(image.token.range.location, *view->document()));
    }
    if (stale.isEmpty())
        place();
    else
        view->restyle(stale);
}

void NoteImageOverlays::place()
{
    if (!view)
        return;
    QTextDocument& document = *view->document();
    QAbstractTextDocumentLayout* layout = document.documentLayout();
    const QPointF scroll(view->horizontalScrollBar()->value(), view->verticalScrollBar()->value());

    QHash<QString, Slot> next;
    QHash<QString, QRect> frames;
    bool allFit = true;
    for (const EditorStyleEngine::ReservedImage& image : placedImages()) {
        const ImageToken& token = image.token;
        const QTextBlock block = document.findBlock(static_cast<int>(token.range.location));
        const QRectF blockRect = layout->blockBoundingRect(block); // lays the block out
        const int local = static_cast<int>(token.range.location - block.position());
        const QTextLine line = block.layout()->lineForTextPosition(local);
        if (!line.isValid() || line.height() <= 0)
            continue;
        allFit = allFit && fits(image);
        const NoteImageMetrics::DisplaySize size = sizeFor(token);
        const QPointF origin =
            blockRect.topLeft() - scroll
            + QPointF(line.naturalTextRect().left(), line.y() + NoteImageMetrics::verticalPadding);
        const QString key = slotKey(token.range.location, token.id);
        next.insert(key, Slot{token.id, token.range, size.width, size.height, size.hasFile});
        frames.insert(key, QRectF(origin, QSizeF(size.width, size.height)).toAlignedRect());
    }

    // Text typed above a picture moves its token, and so its key. Its widget is kept and only
    // moved: making it again costs more than the keystroke, and repaints it. Widgets whose key
    // went are handed on to the new keys of the same picture in text order, which an edit
    // keeps; only what is left over is made or dropped.
    QHash<QString, QList<std::pair<qsizetype, NoteImageOverlayWidget*>>> released; // by id
    for (auto it = overlays.begin(); it != overlays.end();) {
        const auto slot = next.constFind(it.key());
        if (slot != next.cend() && slot->hasFile == (*it)->hasFile()) {
            ++it;
            continue;
        }
        released[(*it)->imageID()].append({slots.value(it.key()).tokenRange.location, *it});
        it = overlays.erase(it);
    }
    for (auto& list : released)
        std::sort(list.begin(), list.end(),
                  [](const auto& a, const auto& b) { return a.first < b.first; });
    QList<QString> newKeys;
    for (auto it = next.cbegin(); it != next.cend(); ++it) {
        if (!overlays.contains(it.key()))
            newKeys.append(it.key());
    }
    std::sort(newKeys.begin(), newKeys.end(), [&](const QString& a, const QString& b) {
        return next[a].tokenRange.location < next[b].tokenRange.location;
    });
    for (const QString& key : std::as_const(newKeys)) {
        const Slot& slot = next[key];
        NoteImageOverlayWidget* overlay = nullptr;
        auto& pool = released[slot.id];
        const auto kept = std::find_if(pool.begin(), pool.end(), [&](const auto& entry) {
            return entry.second->hasFile() == slot.hasFile;
        });
        if (kept != pool.end()) {
            overlay = kept->second;
            pool.erase(kept);
        } else {
            NoteImageOverlayWidget::Source source;
            if (slot.hasFile) {
                source = [&store = view->imageStore(), id = slot.id](QSize devicePixels) {
                    return store.displayImage(id, devicePixels);
                };
            }
            overlay = new NoteImageOverlayWidget(view->viewport(), slot.id, std::move(source));
            overlay->show();
        }
        overlay->onSelect = [this, key] { select(key); };
        overlay->handle()->onDrag = [this, key](QPointF point, bool last) {
            drag(key, point, last);
        };
        overlays.insert(key, overlay);
    }
    for (const auto& list : std::as_const(released)) {
        for (const auto& entry : list)
            delete entry.second;
    }
    for (auto it = next.cbegin(); it != next.cend(); ++it)
        overlays.value(it.key())->setGeometry(frames.value(it.key()));
    slots = next;
    // A file arrived, or the width changed without a resize: the room follows, outside
    // whatever pass or layout this placement runs in.
    if (!allFit)
        refreshSoon.start();
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
    std::sort(list.begin(), list.end(),
              [](const QWidget* a, const QWidget* b) { return a->y() < b->y(); });
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
    if (std::none_of(candidates.begin(), candidates.end(),
                     [&](const ImageToken& t) { return t.id == slot.id; })) {
        candidates = ImageTokens::tokens(view->text());
        offset = 0;
    }
    for (ImageToken token : candidates) {
        token.range.location += offset;
        if (token.id != slot.id)
            continue;
        if (!best
            || std::abs(token.range.location - slot.tokenRange.location)
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
