#include <dlfcn.h>

#include <stdexcept>

#include "CommunicationsService/desktop/Host.h"

namespace desktop {

namespace {

std::string lastDlError() {
    const char* text = dlerror();
    return text != nullptr ? text : "no reason given";
}

template <typename Factory>
Factory findFactory(void* handle, const std::string& path, const char* name) {
    dlerror();
    void* symbol = dlsym(handle, name);
    if (symbol == nullptr) {
        const std::string reason = lastDlError();
        dlclose(handle);
        throw PluginLoadError("plug-in " + path + " has no factory '" + name + "': " + reason);
    }
    return reinterpret_cast<Factory>(symbol);
}

} // namespace

PluginLibrary::PluginLibrary(const std::string& path) {
    // dlopen("") hands back the program itself, whose missing factories would then be
    // reported as if the program were the plug-in.
    if (path.empty()) {
        throw PluginLoadError("no plug-in given: set Host::Options::pluginPath to the path of "
                              "libCommunicationsService.so");
    }
    handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        throw PluginLoadError("cannot load plug-in " + path + ": " + lastDlError());
    }
    proxyFactory = findFactory<Proxy* (*)()>(handle, path, "createCommunicationsServiceProxy");
    invokerFactory =
        findFactory<Invoker* (*)()>(handle, path, "createCommunicationsServiceEventInvoker");
}

PluginLibrary::~PluginLibrary() { dlclose(handle); }

} // namespace desktop
