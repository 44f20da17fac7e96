#include "soak/surroundings.h"

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/files/files.h"
#include "platform/net/socket.h"
#include "soak/left_behind.h"
#include "soak/load_socket.h"

namespace {

constexpr char kPortRange[] = "/proc/sys/net/ipv4/ip_local_port_range";

bool WriteText(const std::string& strPath, const std::string& strText) {
    std::ofstream file(strPath);
    file << strText << std::flush;
    return file.good();
}

std::string ReadText(const std::string& strPath) {
    std::ifstream file(strPath);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// As root of a user namespace, if this user is not root: the maps must name the users outside.
bool EnterNamespaces() {
    if (unshare(CLONE_NEWNET | CLONE_NEWNS) == 0) return true;
    const std::string strUser = std::to_string(getuid());
    const std::string strGroup = std::to_string(getgid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET | CLONE_NEWNS) != 0) return false;
    return WriteText("/proc/self/setgroups", "deny") && WriteText("/proc/self/uid_map", "0 " + strUser + " 1") &&
           WriteText("/proc/self/gid_map", "0 " + strGroup + " 1");
}

bool RaiseLoopback() {
    const CLoadSocket any = CLoadSocket::Serve(SocketKind::Udp, {});
    ifreq request = {};
    std::strcpy(request.ifr_name, "lo");
    if (ioctl(any.Descriptor(), SIOCGIFFLAGS, &request) != 0) return false;
    request.ifr_flags |= IFF_UP;
    return ioctl(any.Descriptor(), SIOCSIFFLAGS, &request) == 0;
}

// As the program does: it and all other processes inherit the limit.
void RaiseDescriptorLimit() {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

bool BindOver(const std::string& strFile, const char* pszTarget) {
    return mount(strFile.c_str(), pszTarget, nullptr, MS_BIND, nullptr) == 0;
}

}  // namespace

std::string ImpossibleHost() {
    return std::string(80, 'x') + ".invalid";
}

CSurroundings::CSurroundings() {
    RaiseDescriptorLimit();
    std::string strName = (std::filesystem::temp_directory_path() / "zelkor-soak-XXXXXX").string();
    if (mkdtemp(strName.data()) == nullptr) {
        std::perror("soak: no folder");
        std::exit(1);
    }
    m_strFolder = strName;
    if (EnterNamespaces()) {
        if (!RaiseLoopback()) {
            std::fputs("soak: the loopback interface of a new network does not come up\n", stderr);
            std::exit(1);
        }
        m_bPortRange = WriteText(kPortRange, ReadText(kPortRange));
        // What is mounted from here on is not seen outside.
        if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0) {
            MakeDisk();
            MakeHostTable();
        }
    }
    std::printf("port shortages: %s\n",
                m_bPortRange ? "a narrow range in a network of its own" : "left out, no rights");
    std::printf("full disk: %s\n", m_bDisk ? "a file system of 64 KiB" : "/dev/full");
    std::printf("failing look-ups: %s\n", m_bHostTable ? "a host table of its own" : "a name that cannot be");
}

CSurroundings::~CSurroundings() {
    if (m_bDisk) umount2(InFolder("disk").c_str(), MNT_DETACH);
    std::error_code error;
    std::filesystem::remove_all(m_strFolder, error);
}

void CSurroundings::MakeDisk() {
    const std::string strDisk = InFolder("disk");
    std::filesystem::create_directory(strDisk);
    m_bDisk = mount("soak", strDisk.c_str(), "tmpfs", 0, "size=64k,mode=700") == 0;
}

// The system's own table of sources may ask servers first, which a network of our own cannot reach.
void CSurroundings::MakeHostTable() {
    if (!WriteText(InFolder("nsswitch.conf"), "hosts: files\n")) return;
    WriteHostTable(true, IpFromNumber(0x7F000001));
    m_bHostTable =
        BindOver(InFolder("nsswitch.conf"), "/etc/nsswitch.conf") && BindOver(InFolder("hosts"), "/etc/hosts");
}

std::string CSurroundings::FileOnFullDisk() const {
    return m_bDisk ? InFolder("disk") + "/soak.log" : "/dev/full";
}

// A write of more than is left fills it to the last byte.
void CSurroundings::FillDisk() const {
    if (m_bDisk) WriteText(InFolder("disk") + "/filler", std::string(128 << 10, '.'));
}

void CSurroundings::EmptyDisk() const {
    if (!m_bDisk) return;
    std::error_code error;
    std::filesystem::remove(InFolder("disk") + "/filler", error);
    std::filesystem::remove(InFolder("disk") + "/soak.log", error);
}

// In place: a new file of that name would not be what /etc/hosts shows.
void CSurroundings::WriteHostTable(bool bKnown, uint32_t dwIp) const {
    WriteText(InFolder("hosts"), FormatIpAddress(dwIp) + " " + (bKnown ? kSoakHost : "nobody.test") + "\n");
}

CDescriptorShortage::CDescriptorShortage(uint64_t nSpare) {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    m_nUsual = limit.rlim_cur;
    limit.rlim_cur = static_cast<uint64_t>(CountLeftBehindOf(0).nDescriptors) + nSpare;
    setrlimit(RLIMIT_NOFILE, &limit);
}

CDescriptorShortage::~CDescriptorShortage() {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = m_nUsual;
    setrlimit(RLIMIT_NOFILE, &limit);
}

CPortShortage::CPortShortage(uint16_t wFirst, uint16_t wLast) : m_strUsual(ReadText(kPortRange)) {
    WriteText(kPortRange, std::to_string(wFirst) + " " + std::to_string(wLast));
}

CPortShortage::~CPortShortage() {
    WriteText(kPortRange, m_strUsual);
}
