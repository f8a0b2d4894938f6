// Objects that live as long as the module is loaded.
#pragma once

namespace kowen::check {

/// Has a function called when the module is unloaded or the process exits, the last one first.
void AtUnload(void (*end)());

/// The one object of a type, made when it is first asked for. It is not a static object: those are
/// destroyed at exit before the module's last report is written.
template <typename T> T &TheOne() {
    static T *object = nullptr;
    if (object == nullptr) {
        object = new T;
        AtUnload([] {
            delete object;
            object = nullptr;
        });
    }
    return *object;
}

} // namespace kowen::check
