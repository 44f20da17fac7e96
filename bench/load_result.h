// What one measurement found: named figures, printed as one line of JSON for script/bench.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

struct LoadResult {
    std::vector<std::pair<std::string, double>> figures;
    std::string strError;  // empty when the measurement is sound

    void Add(const std::string& strName, double dValue) { figures.emplace_back(strName, dValue); }
    void Add(const std::string& strName, uint64_t nValue) { Add(strName, static_cast<double>(nValue)); }
};

LoadResult FailedLoad(std::string strError);
void PrintResult(const LoadResult& result);
