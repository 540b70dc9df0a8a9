#pragma once

#include <QImage>
#include <QSize>
#include <QWidget>

#include <functional>

class NoteImageHandleWidget;

// One picture over its reserved line: the image scaled into the frame, or a dashed
// placeholder with a picture symbol when the file is missing or cannot be decoded.
class NoteImageOverlayWidget final : public QWidget {
    Q_OBJECT

public:
    // Gives the picture for a frame of so many device pixels. The widget keeps no image of
    // its own: it asks at every paint, and the source answers from a cache shared by all
    // views, so only pictures that are painted are ever decoded.
    using Source = std::function<QImage(QSize devicePixels)>;

    // An empty source stands for a missing file.
    NoteImageOverlayWidget(QWidget* viewport, QString imageID, Source source);

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
    const Source source;
    const bool fileThere;
    bool selected = false;
    NoteImageHandleWidget* handleWidget;
};
