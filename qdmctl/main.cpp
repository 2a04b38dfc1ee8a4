#include "qdmctl/Run.h"

int main(int argc, char** argv) {
    return qdmctl::Run(argc, argv);
}
