#include "app/ui/UnsavedQuitDialog.h"

#include "l10n/L10n.h"

#include <QMessageBox>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

namespace {

// A long list would push the buttons off the screen; the rest are counted.
constexpr int shownTitles = 8;

QString lostNotes(const QStringList& titles)
{
    if (titles.isEmpty())
        return {};
    QString text = L10n::text(u"quit.unsaved.lost"_s);
    for (const QString& title : titles.mid(0, shownTitles))
        text += u"\n• "_s + title;
    if (titles.size() > shownTitles)
        text += u"\n"_s + L10n::plural(u"quit.unsaved.more"_s, int(titles.size() - shownTitles));
    return text;
}

} // namespace

std::unique_ptr<QMessageBox> UnsavedQuitDialog::build(const UnsavedWork& work)
{
    const QString title = L10n::text(u"quit.unsaved.title"_s);
    auto box = std::make_unique<QMessageBox>(QMessageBox::Warning, title, title);
    QStringList parts;
    if (!work.reason.isEmpty())
        parts << work.reason;
    if (const QString lost = lostNotes(work.titles); !lost.isEmpty())
        parts << lost;
    box->setInformativeText(parts.join(u"\n\n"_s));
    const auto add = [&](const QString& key, QMessageBox::ButtonRole role, QuitChoice choice) {
        QPushButton* button = box->addButton(L10n::text(key), role);
        button->setProperty("choice", static_cast<int>(choice));
        return button;
    };
    QPushButton* retry =
        add(u"quit.unsaved.try_again"_s, QMessageBox::AcceptRole, QuitChoice::TryAgain);
    add(u"quit.unsaved.quit"_s, QMessageBox::DestructiveRole, QuitChoice::QuitWithoutSaving);
    QPushButton* stay = add(u"quit.unsaved.stay"_s, QMessageBox::RejectRole, QuitChoice::Stay);
    // Neither Return nor Escape may throw text away.
    box->setDefaultButton(retry);
    box->setEscapeButton(stay);
    return box;
}

QuitChoice UnsavedQuitDialog::ask(const UnsavedWork& work)
{
    const std::unique_ptr<QMessageBox> box = build(work);
    box->setWindowFlag(Qt::WindowStaysOnTopHint);
    box->exec();
    const QAbstractButton* clicked = box->clickedButton();
    // Closed by the window manager: the same as staying.
    if (!clicked)
        return QuitChoice::Stay;
    return static_cast<QuitChoice>(clicked->property("choice").toInt());
}
