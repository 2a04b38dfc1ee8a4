#include <dlfcn.h>

#include <iostream>

/// The least that any program costs that loads a plug-in and prints what it answers.
int main(int count, char** arguments) {
    void* const plugin = count == 2 ? dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL) : nullptr;
    if (plugin == nullptr) {
        std::cerr << "usage: bench_plugin_host PLUGIN.so\n";
        return 1;
    }
    const auto describe = reinterpret_cast<const char* (*)()>(dlsym(plugin, "DescribePort"));
    if (describe == nullptr) {
        std::cerr << "the plug-in has no DescribePort\n";
        return 1;
    }
    std::cout << describe() << '\n';
    return 0;
}
