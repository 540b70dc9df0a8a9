#pragma once

#include <QImage>
#include <QWidget>

#include <functional>

class NoteImageHandleWidget;

// One picture over its reserved line: the image scaled into the frame, or a dashed
// placeholder with a picture symbol when the file is missing.
class NoteImageOverlayWidget final : public QWidget {
    Q_OBJECT

public:
    // A null picture stands for a missing file.
    NoteImageOverlayWidget(QWidget* viewport, QString imageID, QImage picture);

    const QString& imageID() const { return id; }
    bool hasFile() const { return fileThere; }
    bool isSelected() const { return selected; }
    void setSelected(bool value);
    NoteImageHandleWidget* handle() const { return handleWidget; }

    std::function<void()> onSelect;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void paintPlaceholder(QPainter& painter);

    const QString id;
    const bool fileThere;
    QImage image;
    bool selected = false;
    NoteImageHandleWidget* handleWidget;
};
