#include "host/ComLib/archive/ArchiveReader.h"

#include <archive.h>
#include <archive_entry.h>
#include <unistd.h>

#include <memory>
#include <new>

namespace {

constexpr std::size_t kBlockSize = 65536;

class ZipReader : public ArchiveReader {
public:
    explicit ZipReader(int descriptor) : reader(archive_read_new(), archive_read_free) {
        sound = reader != nullptr &&
                archive_read_support_format_zip_seekable(reader.get()) == ARCHIVE_OK &&
                lseek(descriptor, 0, SEEK_SET) == 0 &&
                archive_read_open_fd(reader.get(), descriptor, kBlockSize) == ARCHIVE_OK;
    }

    Step Next(Entry& entry) override {
        archive_entry* header = nullptr;
        const int result = sound ? archive_read_next_header(reader.get(), &header) : ARCHIVE_FATAL;
        if (result == ARCHIVE_EOF) {
            return Step::End;
        }
        const char* name = result == ARCHIVE_OK ? archive_entry_pathname(header) : nullptr;
        if (name == nullptr) {
            return Step::Damaged;
        }
        const auto type = archive_entry_filetype(header);
        entry.name = name;
        entry.folder = type == AE_IFDIR;
        entry.plain = (type == AE_IFDIR || type == AE_IFREG) &&
                      archive_entry_is_encrypted(header) == 0 &&
                      archive_entry_hardlink(header) == nullptr;
        return Step::Member;
    }

    long Read(char* buffer, std::size_t size) override {
        return static_cast<long>(archive_read_data(reader.get(), buffer, size));
    }

    std::string Error() const override {
        const char* text = reader ? archive_error_string(reader.get()) : nullptr;
        std::string error = text == nullptr ? "damaged archive" : text;
        error.erase(error.find_last_not_of('\n') + 1);
        return error;
    }

private:
    std::unique_ptr<archive, int (*)(archive*)> reader;
    bool sound = false;
};

}  // namespace

extern "C" ArchiveReader* MakeArchiveReader(int descriptor);

ArchiveReader* MakeArchiveReader(int descriptor) {
    return new (std::nothrow) ZipReader(descriptor);
}
