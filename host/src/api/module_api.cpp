#include "api/handles.h"
#include "api/outcome.h"
#include "base/process_lock.h"
#include "filter/module_search.h"

#include <memory>

using namespace kowen::host;

KowenModule *KowenOpenModule(const char *path, KowenResult *result) {
    std::unique_ptr<KowenModule> module;
    Call(result, [&](Outcome *) {
        const ProcessLock lock;
        module = std::make_unique<KowenModule>(path != nullptr ? path : FindModule());
    });
    return module.release();
}

void KowenCloseModule(KowenModule *module) {
    if (module == nullptr)
        return;
    Call(nullptr, [&](Outcome *) {
        const ProcessLock lock;
        delete module;
    });
}

const char *KowenModulePath(const KowenModule *module) {
    return module != nullptr ? module->filter.Path().c_str() : "";
}

uint32_t KowenModuleVersion(const KowenModule *module) {
    return module != nullptr ? module->filter.Version() : 0;
}

const char *KowenHostVersion(void) {
    return KOWEN_HOST_VERSION;
}
