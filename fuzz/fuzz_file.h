// A file with the bytes of one fuzzing run, for what reads files by their paths.
//
// It stands in the folder for temporary files, under a name of its own process, and goes with its owner.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class CFuzzFile {
  public:
    CFuzzFile();
    ~CFuzzFile();
    CFuzzFile(const CFuzzFile&) = delete;
    CFuzzFile& operator=(const CFuzzFile&) = delete;

    const std::string& Path() const { return m_strPath; }
    void Write(const std::vector<uint8_t>& data) const;
    std::vector<uint8_t> Read() const;

  private:
    const std::string m_strPath;
};
