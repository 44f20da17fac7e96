// The main of every test program.
#include <gmock/gmock.h>

#include "platform/net/socket.h"
#include "tests/support/process.h"

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    PrepareTestProcess();
    if (StartSocketLayer() != 0) return 98;
    EndTestProcess(RUN_ALL_TESTS());
}
