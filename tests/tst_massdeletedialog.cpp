#include "sync/ui/MassDeleteDialog.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>

using Answer = MassDeletePrompt::Answer;

// The question before many notes are deleted: each button gives its answer, and closing the
// window keeps the notes.
class TestMassDeleteDialog : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void answers_data()
    {
        QTest::addColumn<QMessageBox::ButtonRole>("press"); // no role: the Escape key
        QTest::addColumn<Answer>("answer");
        QTest::newRow("the delete button deletes here")
            << QMessageBox::DestructiveRole << Answer::DeleteHere;
        QTest::newRow("the restore button writes the documents back")
            << QMessageBox::AcceptRole << Answer::RestoreToFolder;
        QTest::newRow("closing the window restores")
            << QMessageBox::InvalidRole << Answer::RestoreToFolder;
    }
    void answers()
    {
        QFETCH(QMessageBox::ButtonRole, press);
        QFETCH(Answer, answer);
        MassDeleteDialog dialog;
        QList<Answer> answers;
        dialog.ask(7, [&](Answer a) { answers << a; });
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        QVERIFY(box && box->isVisible());
        QVERIFY(!box->text().isEmpty());
        if (press == QMessageBox::InvalidRole)
            QTest::keyClick(box, Qt::Key_Escape);
        for (QAbstractButton* b : box->buttons()) {
            if (box->buttonRole(b) == press)
                b->click();
        }
        QTRY_COMPARE(answers, QList<Answer>{answer});
    }
};

QTEST_MAIN(TestMassDeleteDialog)
#include "tst_massdeletedialog.moc"
