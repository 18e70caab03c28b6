#pragma once

#include <QString>
#include <cstdint>
#include <vector>

namespace tf {

// One control of a window as elastic resizing sees it. Any of the accessors may throw when the
// control lacks that property or refuses the value.
class ElasticControl {
  public:
    virtual ~ElasticControl() = default;
    virtual QString Name() const = 0;
    virtual double Top() const = 0;
    virtual double Left() const = 0;
    virtual double Height() const = 0;
    virtual double Width() const = 0;
    virtual void setLeft(double twips) = 0;
    virtual void setHeight(double twips) = 0;
    virtual void setWidth(double twips) = 0;
};

// A window whose controls grow with it. Sizes in twips.
class ElasticWindow {
  public:
    virtual ~ElasticWindow() = default;
    virtual double Width() const = 0;
    virtual double Height() const = 0;
    virtual bool AutoRedraw() const = 0;
    virtual void setAutoRedraw(bool on) = 0;
    virtual int controlCount() const = 0;
    virtual ElasticControl& control(int index) = 0;
};

// Lets the controls it knows by name follow the window's size: it records every control's
// position and size at Init and, on each later resize, adds the window's change in width or
// height to the recorded values. Its tables of names serve several windows, so most names match
// nothing here. Recorded values are 16-bit: a window over 32767 twips fails in Init.
class class_Elastic {
  public:
    void Init(ElasticWindow& window);
    void FormResize(ElasticWindow& window);

    static const std::vector<QString>& widthNames();
    static const std::vector<QString>& heightNames();

  private:
    std::int16_t width_ = 0;
    std::int16_t height_ = 0;
    std::int16_t highestIndex_ = -1;
    std::vector<std::int16_t> tops_, lefts_, heights_, widths_;
    bool firstResize_ = false;
};

}  // namespace tf
