#include "sync/ui/MassDeleteDialog.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

// The question before many notes are deleted: each button gives its answer, and closing the
// window keeps the notes.
class TestMassDeleteDialog : public QObject {
    Q_OBJECT

    static QMessageBox* shownBox()
    {
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (auto* box = qobject_cast<QMessageBox*>(w); box && box->isVisible())
                return box;
        }
        return nullptr;
    }

private Q_SLOTS:
    void answers_data()
    {
        QTest::addColumn<QString>("press");
        QTest::addColumn<int>("answer");
        QTest::newRow("the delete button deletes here")
            << u"sync.mass_delete.delete"_s << int(MassDeletePrompt::Answer::DeleteHere);
        QTest::newRow("the restore button writes the documents back")
            << u"sync.mass_delete.restore"_s << int(MassDeletePrompt::Answer::RestoreToFolder);
        QTest::newRow("closing the window restores") << QString()
                                                     << int(MassDeletePrompt::Answer::RestoreToFolder);
    }
    void answers()
    {
        QFETCH(QString, press);
        QFETCH(int, answer);
        MassDeleteDialog dialog;
        QList<int> answers;
        dialog.ask(7, [&](MassDeletePrompt::Answer a) { answers << int(a); });
        QMessageBox* box = shownBox();
        QVERIFY(box);
        QVERIFY(!box->text().isEmpty());
        if (press.isEmpty()) {
            QTest::keyClick(box, Qt::Key_Escape);
        } else {
            const auto role = press == u"sync.mass_delete.delete"_s ? QMessageBox::DestructiveRole
                                                                   : QMessageBox::AcceptRole;
            QAbstractButton* button = nullptr;
            for (QAbstractButton* b : box->buttons()) {
                if (box->buttonRole(b) == role)
                    button = b;
            }
            QVERIFY(button);
            button->click();
        }
        QTRY_COMPARE(answers, QList<int>{answer});
    }
};

QTEST_MAIN(TestMassDeleteDialog)
#include "tst_massdeletedialog.moc"
