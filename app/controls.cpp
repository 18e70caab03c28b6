#include "app/controls.h"

#include "common/failure.h"

namespace tf {

Controls::Controls(const QStringList& names) {
    for (const QString& name : names) {
        controls_[name];
    }
}

const ControlState& Controls::operator[](const QString& name) const {
    const auto it = controls_.find(name);
    if (it == controls_.end()) {
        throw Failure(err::kNotSupported, QStringLiteral("No control named %1").arg(name));
    }
    return it->second;
}

ControlState& Controls::mutableState(const QString& name) {
    return const_cast<ControlState&>(std::as_const(*this)[name]);
}

void Controls::setValue(const QString& name, int value) {
    if ((*this)[name].value == value) {
        return;
    }
    update(name, [&](ControlState& c) { c.value = value; });
    const auto handler = handlers_.find(name);
    if (handler != handlers_.end() && handler->second) {
        handler->second();
    }
}

QStringList Controls::names() const {
    QStringList all;
    for (const auto& entry : controls_) {
        all << entry.first;
    }
    return all;
}

}  // namespace tf
