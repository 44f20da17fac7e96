#include "tests/support/failing_new.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<size_t> g_nFailing = 0;

}  // namespace

void FailNextAllocationOf(size_t nSize) {
    g_nFailing = nSize;
}

void* operator new(size_t nSize, const std::nothrow_t&) noexcept {
    size_t nFailing = nSize;
    return g_nFailing.compare_exchange_strong(nFailing, 0) ? nullptr : std::malloc(nSize);
}

void* operator new(size_t nSize) {
    void* const pBlock = operator new(nSize, std::nothrow);
    if (pBlock == nullptr) throw std::bad_alloc();
    return pBlock;
}

void operator delete(void* pBlock) noexcept {
    std::free(pBlock);
}
void operator delete(void* pBlock, size_t) noexcept {
    std::free(pBlock);
}
