#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "record/RecordEnvironment.h"

namespace norix::tests {

using Bytes = std::vector<std::uint8_t>;

/// A disk in memory on which any one call can be made to fail.
class FakeDisk {
  public:
    enum class Fault { None, Error, Short, Full, NoFolder };
    struct Call {
        std::string file;
        std::uint64_t position;
        Bytes bytes;
    };

    /// The call with this number, from 0 on, fails. Short: half of the bytes are written first.
    void FailAt(int call, Fault fault) {
        m_failAt = call;
        m_fault = fault;
    }
    /// All calls fail from now on; None: they work again.
    void FailAlways(Fault fault) { m_always = fault; }

    RecordEnvironment::Created Create(const std::wstring& folder, const std::wstring& name,
                                      const std::wstring& extension);
    FileResult Write(const std::string& file, std::uint64_t position, RecordBytes bytes);
    void Delete(const std::string& file);
    FileResult Other() { return Next() == Fault::None ? FileResult::Ok : ResultOf(m_lastFault); }

    int Calls() const { return m_calls; }
    /// Those that are there, in the order in which they were made.
    const std::vector<std::string>& Names() const { return m_names; }
    const Bytes& Contents(const std::string& name) const { return m_files.at(name); }
    const Bytes& Contents(std::size_t index) const { return Contents(m_names.at(index)); }

    /// What was written, one after the other, for those who want to stop in between.
    bool keepJournal = false;
    std::vector<Call> journal;
    std::size_t largestWrite = 0;

  private:
    Fault Next();
    static FileResult ResultOf(Fault fault);

    std::map<std::string, Bytes> m_files;
    std::vector<std::string> m_names;
    int m_calls = 0;
    int m_failAt = -1;
    Fault m_fault = Fault::None;
    Fault m_always = Fault::None;
    Fault m_lastFault = Fault::None;
};

}  // namespace norix::tests
