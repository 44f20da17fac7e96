#include "engine/op_settings.h"

#include "engine/host_text.h"

bool OpSettings::IsTargetTheClient() const {
    return m_bBounce != 0 || IsBlankText(m_strRemoteHost);
}

const char* ProtocolText(int32_t nProtocol) {
    if (nProtocol == kProtocolTcp) return "TCP";
    return nProtocol == kProtocolUdp ? "UDP" : nullptr;
}
