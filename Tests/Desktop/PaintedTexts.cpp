// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Desktop/PaintedTexts.h"

#include <QPaintDevice>
#include <QPaintEngine>
#include <QPixmap>
#include <QWidget>

namespace quorrel {

namespace {

/// Remembers texts and draws nothing.
class Engine final : public QPaintEngine {
public:
    explicit Engine(QStringList& texts)
        : QPaintEngine(AllFeatures)
        , m_texts(texts) { }

    bool begin(QPaintDevice*) override { return true; }
    bool end() override { return true; }
    void updateState(const QPaintEngineState&) override { }
    void drawPixmap(const QRectF&, const QPixmap&, const QRectF&) override { }
    void drawPolygon(const QPointF*, int, PolygonDrawMode) override { }
    void drawPolygon(const QPoint*, int, PolygonDrawMode) override { }
    void drawPath(const QPainterPath&) override { }
    void drawTextItem(const QPointF&, const QTextItem& item) override { m_texts.append(item.text()); }
    [[nodiscard]] Type type() const override { return User; }

private:
    QStringList& m_texts;
};

class Device final : public QPaintDevice {
public:
    Device(QStringList& texts, const QWidget& like)
        : m_engine(texts)
        , m_like(like) { }

    [[nodiscard]] QPaintEngine* paintEngine() const override { return &m_engine; }

protected:
    [[nodiscard]] int metric(PaintDeviceMetric metric) const override {
        switch (metric) {
        case PdmWidth:
            return m_like.width();
        case PdmHeight:
            return m_like.height();
        case PdmDpiX:
        case PdmPhysicalDpiX:
            return m_like.logicalDpiX();
        case PdmDpiY:
        case PdmPhysicalDpiY:
            return m_like.logicalDpiY();
        case PdmDevicePixelRatio:
            return 1;
        case PdmDevicePixelRatioScaled:
            return static_cast<int>(devicePixelRatioFScale());
        default:
            return 0;
        }
    }

private:
    mutable Engine m_engine;
    const QWidget& m_like;
};

} // namespace

QStringList paintedTexts(QWidget& widget) {
    QStringList texts;
    Device device(texts, widget);
    widget.render(&device);
    return texts;
}

} // namespace quorrel
