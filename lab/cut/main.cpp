#include <cstdio>
#include <cstdlib>

#include "lab/cut/Tracer.h"

/// lab-cut NUMBER LOG COMMAND...
int main(int count, char** arguments) {
    constexpr int leastArguments = 4;
    constexpr int wrongCall = 2;
    char* end = nullptr;
    const unsigned long cutAt = count < leastArguments ? 0 : std::strtoul(arguments[1], &end, 10);
    if (end == nullptr || *end != '\0') {
        std::fputs("usage: lab-cut NUMBER LOG COMMAND...\n", stderr);
        return wrongCall;
    }
    std::FILE* log = std::fopen(arguments[2], "we");
    if (log == nullptr) {
        std::perror(arguments[2]);
        return 1;
    }
    const int status = Tracer(cutAt, log).Run(arguments + 3);
    return std::fclose(log) == 0 ? status : 1;
}
