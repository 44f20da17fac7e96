// A program of the framework's with the product's resources and nothing else: that it starts by the framework's WinMain
// and ends with code 0 is the test; what it misses is told by another code.
#include "platform/mfc/win_app.h"
#include "resources/resource.h"

namespace {

class CStartApp : public CWinApp {
  public:
    CStartApp() : CWinApp("start") {}
    bool InitInstance() override {
        if (!Enable3dControls()) ExitProcess(3);
        if (std::string(m_lpCmdLine) != "-first \"second word\"") ExitProcess(4);
        if (!LoadIcon(IDI_ZELKOR)) ExitProcess(5);
        if (AfxGetApp() != this) ExitProcess(6);
        return false;
    }
};
CStartApp g_app;

}  // namespace
