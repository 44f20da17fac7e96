#include <cstdio>
#include <cstdlib>

#include "tests/support/process_end.h"

void PrepareTestProcess() {}

void EndTestProcess(int nCode) {
    std::exit(nCode);
}
