#pragma once

#include <QPointer>
#include <QWidget>
#include <memory>
#include <vector>

#include "layout/class_elastic.h"

namespace tf {

// A child widget as elastic resizing sees it, in twips.
class WidgetElasticControl : public ElasticControl {
  public:
    explicit WidgetElasticControl(QWidget* widget) : widget_(widget) {}
    QString Name() const override { return widget_->objectName(); }
    double Top() const override { return twips(widget_->y()); }
    double Left() const override { return twips(widget_->x()); }
    double Height() const override { return twips(widget_->height()); }
    double Width() const override { return twips(widget_->width()); }
    void setLeft(double value) override { widget_->move(pixels(value), widget_->y()); }
    void setHeight(double value) override { widget_->resize(widget_->width(), pixels(value)); }
    void setWidth(double value) override { widget_->resize(pixels(value), widget_->height()); }

    static double twips(int pixels) { return pixels * 15.0; }
    // A widget takes no negative size: such a value is refused and the old one kept.
    static int pixels(double twips);

  private:
    QPointer<QWidget> widget_;
};

// The named child widgets of a window, in the order they were made.
std::vector<std::unique_ptr<WidgetElasticControl>> elasticControlsOf(QWidget* window);

}  // namespace tf
