// A saved-settings file as bytes, written here without the program's own writer: what the program saves is compared with
// it byte for byte, and what the program is to load is made with it.
//
// The fields stand in the order of the file; their initial values are those of a program that has never saved.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

struct OperationImage {
    uint8_t bBounce = 0;
    uint32_t nProtocol = 6;
    uint8_t bRunning = 0;
    uint8_t bStarting = 0;
    std::string strLocalInterface = "127.0.0.1";
    std::array<uint8_t, 4> localIp = {127, 0, 0, 1};
    uint16_t wLocalPort = 0;
    std::string strRemoteHost = "127.0.0.1";
    uint16_t wRemotePort = 0;
    int32_t nMaxSessions = 100;
    int32_t nUdpTimeoutMs = 60000;
    uint8_t bForwardIcmp = 0;
    uint8_t bFiltersEnabled = 0;
    std::string allowRanges;  // 8 bytes a range
    std::string blockRanges;
};

struct SettingsImage {
    uint32_t languageCode = 0;
    std::array<int32_t, 4> windowRect = {};
    uint32_t windowFlags = 0;
    std::array<int32_t, 6> columnOrder = {0, 1, 2, 3, 4, 5};
    std::array<int32_t, 6> columnWidths = {77, 60, 105, 93, 150, 93};
    std::vector<OperationImage> operations;
    std::string lastLocalInterface;
    std::string lastRemoteHost;
    uint8_t lastBounce = 0;
    uint8_t lastProtocolTcp = 1;
    uint8_t lastProtocolUdp = 0;
    uint16_t lastLocalPort = 0;
    uint16_t lastRemotePort = 0;
    int32_t lastMaxSessions = 100;
    int32_t lastUdpTimeoutMs = 60000;
    uint8_t showTrayIcon = 0;
    uint8_t trayOnlyWhenMinimized = 1;
    uint8_t hideTaskbarWhenMinimized = 0;
    uint8_t showRateInBits = 1;
    uint32_t autoStartMode = 1;
    uint8_t autoLogEnabled = 0;
    std::string logDateFormat = "%Y.%MY.%D - %H24:%MN:%S.%MS";
    std::string logFilePath;
    std::string logEntryFormat =
        "[%E], Local IP: %LIP, Local port: %LPort, Protocol: %P, Connector's IP: %CIP, Connector's port: %CPort, "
        "Time: [%DAT]";
    uint32_t logIntervalSeconds = 10;
    uint8_t minimizeOnClose = 0;
    uint8_t trayPromptDone = 0;
    std::string languageFilePath;

    std::string Bytes() const;
};

/// The whole file; empty when it cannot be read.
std::string ReadWholeFile(const std::string& strPath);
void WriteWholeFile(const std::string& strPath, const std::string& strBytes);
