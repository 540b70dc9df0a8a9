#include "app/ui/SettingsWindow.h"

#include "app/SettingsModel.h"
#include "app/ui/ShortcutField.h"
#include "l10n/L10n.h"
#include "notes/Ink.h"
#include "settings/Settings.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QSlider>
#include <QStyle>
#include <QTabWidget>
#include <QVBoxLayout>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

QString text(const QString& key) { return L10n::text(key); }

constexpr int labelWidth = 170;

QLabel* smallText(const QString& text, double size = 11)
{
    auto* label = new QLabel(text);
    label->setWordWrap(true);
    // Sizes in logical pixels, as everywhere in the interface; a QFont point is 4/3 of one.
    QFont font = label->font();
    font.setPointSizeF(size * 0.75);
    label->setFont(font);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

// A page of rows: a label column of fixed width, the control beside it, help under it.
class Page {
public:
    Page(const QString& captionKey)
        : scroll(new QScrollArea)
        , body(new QWidget)
        , grid(new QGridLayout(body))
    {
        scroll->setWidgetResizable(true);
        scroll->setFrameShape(QFrame::NoFrame);
        // Tab goes from the tab bar straight to the first control; the page still scrolls to
        // whichever control takes the focus.
        scroll->setFocusPolicy(Qt::NoFocus);
        // Long texts wrap instead.
        scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        scroll->setWidget(body);
        grid->setContentsMargins(14, 14, 14, 14);
        grid->setColumnMinimumWidth(0, labelWidth);
        grid->setColumnStretch(1, 1);
        grid->setVerticalSpacing(6);
        grid->addWidget(smallText(text(captionKey)), next++, 0, 1, 2);
        grid->setRowMinimumHeight(next++, 6);
    }

    QLabel* section(const QString& key)
    {
        auto* label = new QLabel(text(key));
        QFont font = label->font();
        font.setBold(true);
        label->setFont(font);
        grid->setRowMinimumHeight(next++, 8);
        grid->addWidget(label, next++, 0, 1, 2);
        return label;
    }

    // The row's widgets, to hide them together.
    QList<QWidget*> row(const QString& labelKey, QWidget* control, const QString& helpKey = {})
    {
        QList<QWidget*> parts;
        if (!labelKey.isEmpty()) {
            auto* label = new QLabel(text(labelKey));
            label->setWordWrap(true);
            label->setBuddy(control);
            // Level with the control's first line, however tall the control grows.
            label->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
            label->setMinimumHeight(std::min(control->sizeHint().height(), 28));
            grid->addWidget(label, next, 0, Qt::AlignLeft | Qt::AlignTop);
            parts << label;
            // A text shown as a value keeps its own words as its name; the buddy tells what it is.
            if (control->accessibleName().isEmpty() && !qobject_cast<QLabel*>(control))
                control->setAccessibleName(label->text());
        }
        // A text that wraps must have the column's whole width to know its height.
        if (qobject_cast<QLabel*>(control))
            grid->addWidget(control, next++, 1);
        else
            grid->addWidget(control, next++, 1, Qt::AlignLeft | Qt::AlignVCenter);
        parts << control;
        if (!helpKey.isEmpty()) {
            QLabel* help = smallText(text(helpKey));
            grid->addWidget(help, next++, 1);
            parts << help;
            control->setAccessibleDescription(help->text());
        }
        return parts;
    }

    void note(QLabel* text)
    {
        grid->setRowMinimumHeight(next++, 8);
        grid->addWidget(text, next++, 0, 1, 2);
    }

    QWidget* finish()
    {
        grid->setRowStretch(next, 1);
        return scroll;
    }

    QScrollArea* scroll;
    QWidget* body;
    QGridLayout* grid;
    int next = 0;
};

// Checkable buttons side by side, one of them down: a choice among a few.
QWidget* segmented(const QString& name, const QStringList& titles, QButtonGroup*& group)
{
    auto* box = new QWidget;
    box->setObjectName(name);
    auto* layout = new QHBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    group = new QButtonGroup(box);
    for (int i = 0; i < titles.size(); ++i) {
        auto* button = new QPushButton(titles[i]);
        button->setCheckable(true);
        button->setAccessibleName(titles[i]);
        group->addButton(button, i);
        layout->addWidget(button);
    }
    return box;
}

// The home folder as "~", as file managers and terminals show it.
QString shortPath(const QString& path)
{
    const QString home = QDir::homePath();
    if (path.startsWith(home + u'/'))
        return u"~"_s + path.mid(home.size());
    return path;
}

void showAll(const QList<QWidget*>& widgets, bool visible)
{
    for (QWidget* w : widgets)
        w->setVisible(visible);
}

} // namespace

SettingsWindow::SettingsWindow(SettingsModel& model, const KeyboardLayout& layout, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , model(model)
{
    setWindowTitle(text(u"settings.window_title"_s));
    setAttribute(Qt::WA_DeleteOnClose, false);
    auto* tabs = new QTabWidget;
    tabs->setObjectName(u"tabs"_s);
    tabs->setDocumentMode(true);
    tabs->addTab(shortcutsTab(layout),
                 QIcon::fromTheme(u"preferences-desktop-keyboard-shortcuts"_s),
                 text(u"settings.shortcuts.tab"_s));
    tabs->addTab(deckTab(), QIcon::fromTheme(u"view-list-details"_s), text(u"settings.deck.tab"_s));
    tabs->addTab(notesTab(), QIcon::fromTheme(u"preferences-desktop-font"_s),
                 text(u"settings.notes.tab"_s));
    tabs->addTab(syncTab(), QIcon::fromTheme(u"folder-sync"_s), text(u"settings.sync.tab"_s));
    tabs->addTab(updatesTab(), QIcon::fromTheme(u"system-software-update"_s),
                 text(u"settings.updates.tab"_s));
    // A screen reader passing through names each page by its tab.
    tabs->setAccessibleName(windowTitle());
    for (int i = 0; i < tabs->count(); ++i)
        tabs->widget(i)->setAccessibleName(tabs->tabText(i));
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 6, 0, 0);
    outer->addWidget(tabs);
    resize(620, 640);
    connect(&model, &SettingsModel::changed, this, &SettingsWindow::refresh);
    refresh();
}

void SettingsWindow::show()
{
    if (!isVisible())
        QWidget::show();
    if (isMinimized())
        showNormal();
    raise();
    activateWindow();
}

// Reading a value into a control must not hand it back to the model as a change.
void SettingsWindow::refresh()
{
    std::vector<std::unique_ptr<QSignalBlocker>> quiet;
    for (QWidget* control : findChildren<QWidget*>()) {
        if (qobject_cast<QAbstractButton*>(control) || qobject_cast<QAbstractSlider*>(control)
            || qobject_cast<QComboBox*>(control))
            quiet.push_back(std::make_unique<QSignalBlocker>(control));
    }
    for (const auto& read : refreshers)
        read();
}

QWidget* SettingsWindow::shortcutsTab(const KeyboardLayout& layout)
{
    Page page(u"settings.shortcuts.caption"_s);
    bool global = false;
    for (const SettingsModel::ShortcutRow& row : SettingsModel::shortcutRows) {
        if (row.global != global || row.id == SettingsModel::shortcutRows.front().id) {
            global = row.global;
            page.section(global ? u"settings.shortcuts.global"_s : u"settings.shortcuts.in_note"_s);
        }
        const QString id = row.id.toString();
        auto* field = new ShortcutField(layout, !row.global);
        field->setObjectName(u"shortcut:"_s + id);
        connect(field, &ShortcutField::changed, this,
                [this, id](const Shortcut& s) { model.setShortcut(id, s); });
        auto* clash = new QLabel;
        clash->setObjectName(u"clash:"_s + id);
        clash->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(14, 14));
        clash->setToolTip(text(u"shortcut.duplicate"_s));
        clash->setAccessibleName(text(u"shortcut.duplicate"_s));
        auto* cell = new QWidget;
        auto* line = new QHBoxLayout(cell);
        line->setContentsMargins(0, 0, 0, 0);
        line->addWidget(field);
        line->addWidget(clash);
        line->addStretch();
        page.row(row.labelKey.toString(), cell);
        field->setAccessibleName(text(row.labelKey.toString()));
        refreshers.push_back([this, field, clash, id] {
            field->setShortcut(model.shortcut(id));
            // A warning, never a refusal: the value is stored all the same.
            clash->setVisible(model.duplicate(model.shortcut(id), id));
        });
    }
    page.note(smallText(text(u"settings.shortcuts.hint"_s)));
    return page.finish();
}

QWidget* SettingsWindow::deckTab()
{
    Page page(u"settings.deck.caption"_s);

    auto* language = new QComboBox;
    language->setObjectName(u"appLanguage"_s);
    for (const AppLanguage l : AppLanguage::all)
        language->addItem(text(l.nameKey()), l.rawValue());
    connect(language, &QComboBox::activated, this, [this, language](int i) {
        if (auto l = AppLanguage::fromRawValue(language->itemData(i).toString()))
            model.setAppLanguage(*l);
    });
    page.row(u"settings.deck.language"_s, language, u"settings.deck.language_help"_s);
    refreshers.push_back([this, language] {
        language->setCurrentIndex(language->findData(model.appLanguage().rawValue()));
    });

    QButtonGroup* styles = nullptr;
    QStringList styleTitles;
    for (const DeckStyle s : DeckStyles::all)
        styleTitles << text(DeckStyles::titleKey(s));
    page.row(u"settings.deck.style"_s, segmented(u"deckStyle"_s, styleTitles, styles));
    connect(styles, &QButtonGroup::idClicked, this,
            [this](int i) { model.setDeckStyle(DeckStyles::all[static_cast<std::size_t>(i)]); });
    refreshers.push_back([this, styles] {
        styles->button(model.deckStyle() == DeckStyle::Tabs ? 0 : 1)->setChecked(true);
    });

    auto* sizeBox = new QWidget;
    auto* sizeLine = new QHBoxLayout(sizeBox);
    sizeLine->setContentsMargins(0, 0, 0, 0);
    auto* size = new QSlider(Qt::Horizontal);
    size->setObjectName(u"deckScale"_s);
    // Steps of 0.05 as whole percents.
    size->setRange(static_cast<int>(std::lround(Settings::deckScaleRange.lower * 100)),
                   static_cast<int>(std::lround(Settings::deckScaleRange.upper * 100)));
    size->setSingleStep(5);
    size->setPageStep(10);
    size->setMinimumWidth(200);
    auto* percent = new QLabel;
    percent->setMinimumWidth(QFontMetrics(percent->font()).horizontalAdvance(u"180%"_s) + 4);
    sizeLine->addWidget(size);
    sizeLine->addWidget(percent);
    connect(size, &QSlider::valueChanged, this,
            [this](int value) { model.setDeckScale(std::round(value / 5.0) * 5 / 100.0); });
    page.row(u"settings.deck.size"_s, sizeBox, u"settings.deck.size_help"_s);
    size->setAccessibleName(text(u"settings.deck.size"_s));
    refreshers.push_back([this, size, percent] {
        const int value = static_cast<int>(std::lround(model.deckScale() * 100));
        size->setValue(value);
        percent->setText(u"%1%"_s.arg(value));
    });

    auto* display = new QComboBox;
    display->setObjectName(u"displayTarget"_s);
    connect(display, &QComboBox::activated, this,
            [this, display](int i) { model.setDisplayTarget(display->itemData(i).toString()); });
    const QList<QWidget*> displayRow = page.row(u"settings.deck.display"_s, display);
    refreshers.push_back([this, display, displayRow] {
        const QList<SettingsModel::Choice> choices = model.displayChoices();
        showAll(displayRow, !choices.isEmpty());
        display->clear();
        for (const SettingsModel::Choice& c : choices)
            display->addItem(c.title, c.value);
        display->setCurrentIndex(display->findData(model.displayTarget()));
    });

    QButtonGroup* edges = nullptr;
    page.row(u"settings.deck.edge"_s,
             segmented(u"onLeftEdge"_s, {text(u"edge.left"_s), text(u"edge.right"_s)}, edges));
    connect(edges, &QButtonGroup::idClicked, this, [this](int i) { model.setOnLeftEdge(i == 0); });
    refreshers.push_back(
        [this, edges] { edges->button(model.onLeftEdge() ? 0 : 1)->setChecked(true); });

    QButtonGroup* widths = nullptr;
    QStringList widthTitles;
    for (const NamedValue& w : Settings::edgeWidths)
        widthTitles << text(w.key.toString());
    page.row(u"settings.deck.detection_area"_s, segmented(u"edgeWidth"_s, widthTitles, widths),
             u"settings.deck.detection_help"_s);
    connect(widths, &QButtonGroup::idClicked, this, [this](int i) {
        model.setEdgeWidth(Settings::edgeWidths[static_cast<std::size_t>(i)].value);
    });
    refreshers.push_back([this, widths] {
        for (std::size_t i = 0; i < Settings::edgeWidths.size(); ++i)
            widths->button(static_cast<int>(i))
                ->setChecked(Settings::edgeWidths[i].value == model.edgeWidth());
    });

    SettingsModel* const m = &model;
    std::vector<std::function<void()>>* const reads = &refreshers;
    const auto toggle =
        [m, reads, &page](const QString& name, const QString& labelKey, const QString& helpKey,
                          bool (SettingsModel::*get)() const, void (SettingsModel::*set)(bool)) {
            auto* box = new QCheckBox(text(labelKey));
            box->setObjectName(name);
            QObject::connect(box, &QCheckBox::toggled, m, [m, set](bool on) { (m->*set)(on); });
            reads->push_back([m, box, get] { box->setChecked((m->*get)()); });
            return page.row({}, box, helpKey);
        };
    toggle(u"alwaysShown"_s, u"settings.deck.keep_open"_s, u"settings.deck.keep_open_help"_s,
           &SettingsModel::alwaysShown, &SettingsModel::setAlwaysShown);
    const QList<QWidget*> hideActions = toggle(
        u"hideActions"_s, u"settings.deck.hide_actions"_s, u"settings.deck.hide_actions_help"_s,
        &SettingsModel::hideActions, &SettingsModel::setHideActions);
    // Only an open deck has buttons to hide.
    refreshers.push_back([this, hideActions] { showAll(hideActions, model.alwaysShown()); });
    toggle(u"pillHidden"_s, u"settings.deck.hide_pill"_s, u"settings.deck.hide_pill_help"_s,
           &SettingsModel::pillHidden, &SettingsModel::setPillHidden);
    toggle(u"openOnHover"_s, u"settings.deck.hover_open"_s, u"settings.deck.hover_open_help"_s,
           &SettingsModel::openOnHover, &SettingsModel::setOpenOnHover);
    toggle(u"tabPreview"_s, u"settings.deck.hover_preview"_s, u"settings.deck.hover_preview_help"_s,
           &SettingsModel::tabPreview, &SettingsModel::setTabPreview);
    toggle(u"overFullScreen"_s, u"menu.show_over_fullscreen"_s, {}, &SettingsModel::overFullScreen,
           &SettingsModel::setOverFullScreen);
    toggle(u"launchAtLogin"_s, u"menu.launch_at_login"_s, {}, &SettingsModel::launchAtLogin,
           &SettingsModel::setLaunchAtLogin);
    page.note(smallText(text(u"settings.deck.drag_help"_s)));
    return page.finish();
}

QWidget* SettingsWindow::notesTab()
{
    Page page(u"settings.notes.caption"_s);

    auto* font = new QComboBox;
    font->setObjectName(u"fontName"_s);
    for (const NoteFace& face : Ink::faces())
        font->addItem(face.localizedName(), face.body);
    connect(font, &QComboBox::activated, this,
            [this, font](int i) { model.setFontName(font->itemData(i).toString()); });
    page.row(u"settings.notes.font"_s, font);
    refreshers.push_back([this, font] {
        font->setCurrentIndex(font->findData(Ink::face(model.fontName(), Ink::faces()).body));
    });

    QButtonGroup* sizes = nullptr;
    QStringList sizeTitles;
    for (const NamedSize& s : Settings::noteSizes)
        sizeTitles << text(s.key.toString());
    page.row(u"settings.notes.note_size"_s, segmented(u"noteSizeIndex"_s, sizeTitles, sizes));
    connect(sizes, &QButtonGroup::idClicked, this, [this](int i) { model.setNoteSizeIndex(i); });
    refreshers.push_back([this, sizes] { sizes->button(model.noteSizeIndex())->setChecked(true); });

    auto* textBox = new QWidget;
    auto* textLine = new QHBoxLayout(textBox);
    textLine->setContentsMargins(0, 0, 0, 0);
    auto* slider = new QSlider(Qt::Horizontal);
    slider->setObjectName(u"fontSize"_s);
    // Half points as whole steps.
    slider->setRange(static_cast<int>(Settings::fontRange.lower * 2),
                     static_cast<int>(Settings::fontRange.upper * 2));
    slider->setMinimumWidth(200);
    auto* points = new QLabel;
    textLine->addWidget(slider);
    textLine->addWidget(points);
    connect(slider, &QSlider::valueChanged, this,
            [this](int value) { model.setFontSize(value / 2.0); });
    page.row(u"settings.notes.text_size"_s, textBox);
    slider->setAccessibleName(text(u"settings.notes.text_size"_s));
    refreshers.push_back([this, slider, points] {
        slider->setValue(static_cast<int>(std::lround(model.fontSize() * 2)));
        points->setText(L10n::format(u"settings.notes.font_size_value"_s, {model.fontSize()}));
    });

    auto* markdown = new QCheckBox(text(u"settings.notes.markdown"_s));
    markdown->setObjectName(u"markdown"_s);
    connect(markdown, &QCheckBox::toggled, this, [this](bool on) { model.setMarkdown(on); });
    refreshers.push_back([this, markdown] { markdown->setChecked(model.markdown()); });
    page.row({}, markdown, u"settings.notes.markdown_help"_s);
    return page.finish();
}

QWidget* SettingsWindow::syncTab()
{
    Page page(u"settings.sync.caption"_s);

    auto* enable = new QCheckBox(text(u"settings.sync.enable"_s));
    enable->setObjectName(u"cloudSync"_s);
    connect(enable, &QCheckBox::toggled, this, [this](bool on) { model.setCloudSync(on); });
    page.row({}, enable, u"settings.sync.enable_help"_s);
    QLabel* unavailable = smallText(text(u"settings.sync.unavailable_help"_s));
    page.row({}, unavailable);

    auto* folderBox = new QWidget;
    auto* folderLines = new QVBoxLayout(folderBox);
    folderLines->setContentsMargins(0, 0, 0, 0);
    QLabel* path = smallText({}, 12.5);
    path->setObjectName(u"syncFolder"_s);
    path->setForegroundRole(QPalette::WindowText);
    path->setTextInteractionFlags(Qt::TextSelectableByMouse);
    // A path has no spaces to wrap at; a wrapped one loses its end under the buttons.
    path->setWordWrap(false);
    auto* buttons = new QHBoxLayout;
    auto* choose = new QPushButton(text(u"settings.sync.choose"_s));
    choose->setObjectName(u"chooseSyncRoot"_s);
    auto* reveal = new QPushButton(text(u"settings.sync.reveal"_s));
    reveal->setObjectName(u"revealSyncFolder"_s);
    buttons->addWidget(choose);
    buttons->addWidget(reveal);
    buttons->addStretch();
    folderLines->addWidget(path);
    folderLines->addLayout(buttons);
    connect(choose, &QPushButton::clicked, this, &SettingsWindow::chooseSyncRoot);
    connect(reveal, &QPushButton::clicked, this, [this] { model.revealSyncFolder(); });
    page.row(u"settings.sync.folder"_s, folderBox, u"settings.sync.folder_help"_s);

    QLabel* status = smallText({}, 12.5);
    status->setObjectName(u"syncStatus"_s);
    status->setForegroundRole(QPalette::WindowText);
    const QList<QWidget*> statusRow = page.row(u"settings.sync.status"_s, status);
    auto* now = new QPushButton(text(u"settings.sync.sync_now"_s));
    now->setObjectName(u"syncNow"_s);
    connect(now, &QPushButton::clicked, this, [this] { model.syncNow(); });
    page.row({}, now);

    refreshers.push_back([this, enable, unavailable, path, reveal, status, statusRow, now] {
        const bool available = model.syncFolderAvailable();
        enable->setChecked(model.cloudSync());
        // Turning it off is always possible; on needs a folder to go to.
        enable->setEnabled(available || model.cloudSync());
        unavailable->setVisible(!available);
        const QString folder = model.syncFolderPath();
        path->setText(folder.isEmpty() ? text(u"settings.sync.status_no_folder"_s)
                                       : shortPath(folder));
        reveal->setEnabled(available);
        status->setText(model.syncStatus());
        showAll(statusRow, model.cloudSync());
        now->setVisible(model.cloudSync());
        now->setEnabled(available);
    });
    return page.finish();
}

void SettingsWindow::chooseSyncRoot()
{
    const QString start = model.syncRoot().isEmpty() ? QDir::homePath() : model.syncRoot();
    const QString chosen =
        QFileDialog::getExistingDirectory(this, text(u"settings.sync.choose_title"_s), start);
    if (!chosen.isEmpty())
        model.setSyncRoot(chosen);
}

QWidget* SettingsWindow::updatesTab()
{
    Page page(u"settings.updates.caption"_s);
    QLabel* version = smallText(
        L10n::format(u"settings.updates.version"_s, {QStringLiteral(PONDRIFT_VERSION),
                                                     u"Qt "_s + QString::fromLatin1(qVersion())}),
        12.5);
    version->setForegroundRole(QPalette::WindowText);
    page.row(u"settings.updates.this_copy"_s, version);
    // Packages bring new versions here; there is nothing to check or to switch on.
    QLabel* packages = new QLabel(text(u"updates.install_sparkle"_s));
    packages->setObjectName(u"updateStatus"_s);
    packages->setWordWrap(true);
    page.row({}, packages);
    return page.finish();
}
