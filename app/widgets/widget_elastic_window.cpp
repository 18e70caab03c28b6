#include "app/widgets/widget_elastic_window.h"

#include <cmath>

#include "common/failure.h"

namespace tf {

int WidgetElasticControl::pixels(double twips) {
    if (twips < 0) {
        throw Failure(380, QStringLiteral("Invalid property value"));
    }
    return static_cast<int>(std::lround(twips / 15.0));
}

std::vector<std::unique_ptr<WidgetElasticControl>> elasticControlsOf(QWidget* window) {
    std::vector<std::unique_ptr<WidgetElasticControl>> controls;
    for (QWidget* child : window->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        if (!child->objectName().isEmpty()) {
            controls.push_back(std::make_unique<WidgetElasticControl>(child));
        }
    }
    return controls;
}

}  // namespace tf
