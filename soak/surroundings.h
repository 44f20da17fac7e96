// The system around a soak, as far as its rights allow: a network of its own, whose port range can be made narrow, a disk
// of its own that fills up, and a host table of its own from which a name can go.
//
// Namespaces give all three to root, and to other users where the system lets them make user namespaces. The supervisor
// makes it before it forks; the others only use it. What cannot be had is told, and played in another way or left out.
#pragma once

#include <cstdint>
#include <string>

#include "soak/shared_block.h"

/// The name by which operations lead to the servers, when there is a host table of our own.
inline constexpr char kSoakHost[] = "soak-server.test";
/// A name that no resolver asks anybody for: its label is longer than labels can be.
std::string ImpossibleHost();

class CSurroundings {
  public:
    /// Tells on standard output what it has.
    CSurroundings();
    /// Removes the folder.
    ~CSurroundings();
    CSurroundings(const CSurroundings&) = delete;
    CSurroundings& operator=(const CSurroundings&) = delete;

    const std::string& Folder() const { return m_strFolder; }
    bool HasPortRange() const { return m_bPortRange; }
    bool HasHostTable() const { return m_bHostTable; }
    /// A file on a disk that is full from FillDisk to EmptyDisk; /dev/full when there is no disk of our own.
    std::string FileOnFullDisk() const;
    bool HasDisk() const { return m_bDisk; }
    void FillDisk() const;
    void EmptyDisk() const;
    /// Whether the host table holds kSoakHost, for that address (network byte order).
    void WriteHostTable(bool bKnown, uint32_t dwIp) const;

  private:
    void MakeDisk();
    void MakeHostTable();
    std::string InFolder(const char* pszName) const { return m_strFolder + "/" + pszName; }

    std::string m_strFolder;
    bool m_bPortRange = false;
    bool m_bDisk = false;
    bool m_bHostTable = false;
};

/// While it lives the process can open this many more descriptors than it has.
class CDescriptorShortage {
  public:
    explicit CDescriptorShortage(uint64_t nSpare);
    ~CDescriptorShortage();
    CDescriptorShortage(const CDescriptorShortage&) = delete;
    CDescriptorShortage& operator=(const CDescriptorShortage&) = delete;

  private:
    uint64_t m_nUsual = 0;
};

/// While it lives the system gives only these ports to sockets that ask for any. Needs HasPortRange.
class CPortShortage {
  public:
    CPortShortage(uint16_t wFirst, uint16_t wLast);
    ~CPortShortage();
    CPortShortage(const CPortShortage&) = delete;
    CPortShortage& operator=(const CPortShortage&) = delete;

  private:
    std::string m_strUsual;
};
