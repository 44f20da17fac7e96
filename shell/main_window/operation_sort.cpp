#include "shell/main_window/operation_sort.h"

#include <algorithm>
#include <string_view>

#include "engine/port_forward_op.h"

namespace {

template <class T>
int Compare(const T& first, const T& second, int nSortSign) {
    if (first == second) return 0;
    return first < second ? nSortSign : -nSortSign;
}

int Lowered(char ch) {
    const int nByte = static_cast<unsigned char>(ch);
    return 'A' <= nByte && nByte <= 'Z' ? nByte - 'A' + 'a' : nByte;
}

// As _stricmp does it in the locale that the program starts with: only the letters A to Z have capitals.
int CompareWithoutCase(std::string_view strFirst, std::string_view strSecond) {
    const size_t nCommon = std::min(strFirst.size(), strSecond.size());
    for (size_t i = 0; i < nCommon; ++i) {
        const int nDifference = Lowered(strFirst[i]) - Lowered(strSecond[i]);
        if (nDifference != 0) return nDifference;
    }
    if (strFirst.size() == strSecond.size()) return 0;
    return strFirst.size() < strSecond.size() ? -1 : 1;
}

}  // namespace

int CompareOperations(const CPortForwardOp* pFirst, const CPortForwardOp* pSecond, int nColumn, int nSortSign) {
    if (!pFirst || !pSecond) return 0;
    switch (nColumn) {
        case COLUMN_STATUS:
            return Compare(pFirst->m_bRunning.load(), pSecond->m_bRunning.load(), nSortSign);
        case COLUMN_PROTOCOL:
            return Compare(pFirst->m_settings.m_nProtocol, pSecond->m_settings.m_nProtocol, nSortSign);
        case COLUMN_LOCAL_IP:
            return Compare(IpToNumber(pFirst->m_settings.m_dwLocalIp), IpToNumber(pSecond->m_settings.m_dwLocalIp),
                           nSortSign);
        case COLUMN_LOCAL_PORT:
            return Compare(pFirst->m_settings.m_wLocalPort, pSecond->m_settings.m_wLocalPort, nSortSign);
        case COLUMN_REMOTE_HOST:
            return nSortSign *
                   CompareWithoutCase(pFirst->m_settings.m_strRemoteHost, pSecond->m_settings.m_strRemoteHost);
        case COLUMN_REMOTE_PORT:
            return Compare(pFirst->m_settings.m_wRemotePort, pSecond->m_settings.m_wRemotePort, nSortSign);
        default:
            return 0;
    }
}
