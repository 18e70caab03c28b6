#pragma once

#include <QString>
#include <array>

namespace tf {

// Told when a panel's text changes, so that the real status bar follows.
class StatusPanelsObserver {
  public:
    virtual ~StatusPanelsObserver() = default;
    virtual void panelChanged(int panel) = 0;
};

// The status bar's numbered panels (1 and 2) as the logic writes them.
class StatusPanels {
  public:
    static constexpr int kPanels = 2;

    const QString& text(int panel) const { return texts_.at(slot(panel)); }
    void setText(int panel, const QString& text) {
        texts_.at(slot(panel)) = text;
        if (observer_ != nullptr) {
            observer_->panelChanged(panel);
        }
    }
    void setObserver(StatusPanelsObserver* observer) { observer_ = observer; }

  private:
    static std::size_t slot(int panel) { return static_cast<std::size_t>(panel - 1); }

    std::array<QString, kPanels> texts_;
    StatusPanelsObserver* observer_ = nullptr;
};

}  // namespace tf
