#include "app/control_enabling.h"

namespace tf {

int ControlEnabling::markedNodes() const {
    int marked = 0;
    for (int node = 1; node <= tree_.count(); ++node) {
        marked += tree_.node(node).Checked ? 1 : 0;
    }
    return marked;
}

void ControlEnabling::Enable_Command_Buttons() {
    const int marked = markedNodes();
    const int count = controls_.value(QStringLiteral("chkSelectByRow")) == 1
                          ? grid_.Get_Rows_Selected_Count()
                          : marked;
    controls_.setEnabled(QStringLiteral("cmdRun"), count >= 1);
    controls_.setEnabled(QStringLiteral("mnuUnmark"), marked >= 1);
}

}  // namespace tf
