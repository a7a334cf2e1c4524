#include "FakeDisk.h"

#include <algorithm>

namespace norix::tests {
namespace {

class FakeFile final : public RecordFile {
  public:
    FakeFile(FakeDisk& disk, std::string name) : m_disk(disk), m_name(std::move(name)) {}
    FileResult Write(std::uint64_t position, RecordBytes bytes) override {
        return m_disk.Write(m_name, position, bytes);
    }
    FileResult Flush() override { return m_disk.Other(); }
    FileResult Close() override { return m_disk.Other(); }
    void Discard() override { m_disk.Delete(m_name); }

  private:
    FakeDisk& m_disk;
    const std::string m_name;
};

void Put(Bytes& file, std::uint64_t position, RecordBytes bytes) {
    if (file.size() < position + bytes.size()) file.resize(position + bytes.size());
    std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<std::ptrdiff_t>(position));
}

}  // namespace

FakeDisk::Fault FakeDisk::Next() {
    const bool now = m_calls++ == m_failAt;
    m_lastFault = now ? m_fault : m_always;
    return m_lastFault;
}

FileResult FakeDisk::ResultOf(Fault fault) {
    switch (fault) {
        case Fault::None:
            return FileResult::Ok;
        case Fault::Full:
            return FileResult::DiskFull;
        case Fault::NoFolder:
            return FileResult::NoFolder;
        case Fault::Error:
        case Fault::Short:
            break;
    }
    return FileResult::Failed;
}

RecordEnvironment::Created FakeDisk::Create(const std::wstring& folder, const std::wstring& name,
                                            const std::wstring& extension) {
    if (const Fault fault = Next(); fault != Fault::None) return {ResultOf(fault), nullptr};
    std::string path;
    for (const std::wstring* const part : {&folder, &name, &extension})
        path.append(part->begin(), part->end());
    std::string unique = path;
    for (int i = 2; m_files.contains(unique); ++i)
        unique = path + " (" + std::to_string(i) + ")";
    m_files[unique];
    m_names.push_back(unique);
    return {FileResult::Ok, std::make_unique<FakeFile>(*this, unique)};
}

FileResult FakeDisk::Write(const std::string& file, std::uint64_t position, RecordBytes bytes) {
    largestWrite = std::max(largestWrite, bytes.size());
    const Fault fault = Next();
    if (fault == Fault::Short) bytes = bytes.first(bytes.size() / 2);
    if (fault == Fault::None || fault == Fault::Short) {
        Put(m_files[file], position, bytes);
        if (keepJournal) journal.push_back({file, position, Bytes(bytes.begin(), bytes.end())});
    }
    return ResultOf(fault);
}

void FakeDisk::Delete(const std::string& file) {
    m_files.erase(file);
    std::erase(m_names, file);
}

}  // namespace norix::tests
