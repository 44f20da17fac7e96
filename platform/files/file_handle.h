// The one owner of an open file of the system: a descriptor on Linux, a file handle on Windows.
//
// The handle is closed by Close, by the destructor and by an assignment over it. One thread at a time. The class only
// owns; the calls on the handle stand in the platform halves, which borrow it through Get.
#pragma once

#include <cstdint>
#include <utility>

class CFileHandle {
  public:
    /// What the system's open calls give when they fail, on both systems.
    static constexpr intptr_t kNone = -1;

    CFileHandle() = default;
    explicit CFileHandle(intptr_t hFile) : m_hFile(hFile) {}
    ~CFileHandle() { static_cast<void>(Close()); }
    CFileHandle(CFileHandle&& other) noexcept : m_hFile(std::exchange(other.m_hFile, kNone)) {}
    CFileHandle& operator=(CFileHandle&& other) noexcept;
    CFileHandle(const CFileHandle&) = delete;
    CFileHandle& operator=(const CFileHandle&) = delete;

    bool IsOpen() const { return m_hFile != kNone; }
    /// Borrowed: valid until the object closes it.
    intptr_t Get() const { return m_hFile; }
    /// 0, or the system's error code: some systems tell only here that written bytes were lost. The handle is given
    /// back in any case. Closing nothing is no error.
    [[nodiscard]] int32_t Close();

  private:
    intptr_t m_hFile = kNone;
};
