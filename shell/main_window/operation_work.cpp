#include "shell/main_window/operation_work.h"

namespace {

bool TakeStep(OperationWork* pWork, WorkStep step) {
    const LPARAM nWork = reinterpret_cast<LPARAM>(pWork);
    return SendMessageA(pWork->hMainWnd, WM_WORKER_STEP, static_cast<WPARAM>(step), nWork) != 0;
}

void End(std::unique_ptr<OperationWork> pWork) {
    EngineCounters* const pCounters = pWork->pCounters;
    pWork.reset();
    pCounters->nThreads.fetch_sub(1);
}

}  // namespace

void StopWorker(std::unique_ptr<OperationWork> pWork) {
    pWork->pOperation->Stop();
    TakeStep(pWork.get(), WorkStep::Stopped);
    End(std::move(pWork));
}

void EditWorker(std::unique_ptr<OperationWork> pWork) {
    pWork->bWasRunning = pWork->pOperation->m_bRunning != 0;
    pWork->pOperation->Stop();
    if (TakeStep(pWork.get(), WorkStep::EditStopped)) pWork->pOperation->Start();
    TakeStep(pWork.get(), WorkStep::EditDone);
    End(std::move(pWork));
}

void DeleteWorker(std::unique_ptr<OperationWork> pWork) {
    pWork->pOperation->Stop();
    TakeStep(pWork.get(), WorkStep::DeleteStopped);
    End(std::move(pWork));
}
