// A note text view bound to a note of a real store over a real database: a change from
// outside keeps the caret and waits for an input method's composition, and unbinding saves.
// The sheet's tests type through the same binding and see the save delay and a deleted note.
#include "editor/EditorStyleEngine.h"
#include "editor/NoteTextBinding.h"
#include "editor/ui/NoteTextView.h"
#include "support/RecordingDesktop.h"
#include "support/TestLibrary.h"

#include <QApplication>
#include <QInputMethodEvent>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

class NoteTextBindingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init();
    void anOutsideChangeKeepsTheCaret();
    void anOutsideChangeWaitsForACompositionToEnd();
    void unbindingSavesAtOnce();

private:
    void compose(const QString& preedit, const QString& commit = {});

    std::unique_ptr<TestLibrary> library;
    RecordingDesktop desktop;
    std::unique_ptr<NoteTextView> view;
    std::unique_ptr<NoteTextBinding> binding;
    QString id;
};

void NoteTextBindingTest::init()
{
    binding.reset();
    view.reset();
    library = std::make_unique<TestLibrary>();
    NoteStore& store = library->open();
    id = store.create(u"first line\nsecond **line**"_s).id;
    NoteTextView::Configuration config;
    config.bodyFont = [](double size) { return QFont(u"DejaVu Sans"_s, static_cast<int>(size)); };
    view = std::make_unique<NoteTextView>(QString(), config, nullptr, desktop, library->images);
    binding = std::make_unique<NoteTextBinding>(store, *view, id);
    QCOMPARE(view->text(), u"first line\nsecond **line**"_s);
}

void NoteTextBindingTest::compose(const QString& preedit, const QString& commit)
{
    QInputMethodEvent event(preedit, {});
    event.setCommitString(commit);
    QApplication::sendEvent(view.get(), &event);
}

void NoteTextBindingTest::anOutsideChangeKeepsTheCaret()
{
    QTextCursor cursor = view->textCursor();
    cursor.setPosition(5);
    view->setTextCursor(cursor);
    library->notes->updateBody(id, u"first\r\nsecond **bold** line"_s);
    QCOMPARE(view->text(), u"first\nsecond **bold** line"_s);
    QCOMPARE(view->textCursor().position(), 5);
    QVERIFY(EditorStyleEngine::styledFormat(*view->document(), 15).fontWeight() >= QFont::DemiBold);
    QVERIFY(!view->document()->isUndoAvailable()); // no edit of the user's
}

// An outside change waits for the composition: a cancelled one lets it in, a committed one
// leaves the user's words where they were typed.
void NoteTextBindingTest::anOutsideChangeWaitsForACompositionToEnd()
{
    compose(u"**b**"_s);
    library->notes->updateBody(id, u"from sync"_s);
    view->setText(u"not now either"_s);
    QCOMPARE(view->text(), u"first line\nsecond **line**"_s);
    compose(QString());
    QCOMPARE(view->text(), u"from sync"_s);

    view->moveCursor(QTextCursor::Start);
    compose(u"k"_s);
    library->notes->updateBody(id, u"from sync again"_s);
    compose(QString(), u"typed "_s);
    QCOMPARE(view->text(), u"typed from sync"_s);
    QCOMPARE(library->notes->note(id)->body, u"typed from sync"_s);
    library->clock.advance(NoteStore::saveDelay * 2);
    QCOMPARE(library->storedNote(id)->body, u"typed from sync"_s);

    // Without an outside change, the commit is typed text, styled once committed.
    view->moveCursor(QTextCursor::End);
    compose(u"**b**"_s);
    compose(QString(), u" **b**"_s);
    QCOMPARE(library->notes->note(id)->body, u"typed from sync **b**"_s);
    QVERIFY(EditorStyleEngine::styledFormat(*view->document(), 18).fontWeight() >= QFont::DemiBold);
}

void NoteTextBindingTest::unbindingSavesAtOnce()
{
    QTest::keyClicks(view.get(), u"B"_s);
    QVERIFY(view->document()->isUndoAvailable()); // the store's echo is no new text
    binding->unbind();
    QCOMPARE(library->storedNote(id)->body, u"Bfirst line\nsecond **line**"_s);
    // Unbound, the view no longer writes to the note.
    QTest::keyClicks(view.get(), u"C"_s);
    QCOMPARE(library->notes->note(id)->body, u"Bfirst line\nsecond **line**"_s);

    // Destroying a binding saves too.
    binding = std::make_unique<NoteTextBinding>(*library->notes, *view, id);
    QTest::keyClicks(view.get(), u"D"_s);
    binding.reset();
    QCOMPARE(library->storedNote(id)->body, u"BfDirst line\nsecond **line**"_s);
}

QTEST_MAIN(NoteTextBindingTest)
#include "tst_notetextbinding.moc"
