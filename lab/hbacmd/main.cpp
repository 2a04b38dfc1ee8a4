#include <cstdio>
#include <exception>

#include "lab/hbacmd/Tool.h"

int main(int count, char** arguments) {
    try {
        return RunTool({arguments + 1, arguments + count});
    } catch (const std::exception& error) {
        std::printf("ERROR: <1>: %s\n", error.what());
        return 1;
    }
}
