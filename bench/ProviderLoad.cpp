#include <dlfcn.h>

#include <chrono>
#include <iostream>

/// Prints how many nanoseconds it takes to load a library, in a fresh process whose host
/// libraries are loaded.
int main(int count, char** arguments) {
    if (count != 2) {
        std::cerr << "usage: bench_provider_load LIBRARY.so\n";
        return 1;
    }
    const auto begun = std::chrono::steady_clock::now();
    void* const provider = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
    const std::chrono::nanoseconds took = std::chrono::steady_clock::now() - begun;
    if (provider == nullptr) {
        std::cerr << dlerror() << '\n';
        return 1;
    }
    std::cout << took.count() << '\n';
    return 0;
}
