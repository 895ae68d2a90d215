#ifndef SIM_INCLUDE_COMPRESSED_FILE_H
#define SIM_INCLUDE_COMPRESSED_FILE_H

#include <istream>
#include <memory>
#include <ostream>
#include <string>

namespace OHOS::Sim {

// Files stored plain or gzip-compressed (zlib). A file is written compressed when its name ends in
// GZIP_SUFFIX, and read as gzip when it starts with gzip's magic bytes (1f 8b), whatever its name.

inline const std::string GZIP_SUFFIX = ".gz";

// Whether `path` names a file written compressed (it ends in GZIP_SUFFIX).
bool IsCompressedName(const std::string& path);

// `plainPath` when that file exists, else `plainPath` + GZIP_SUFFIX when that one does, else
// `plainPath`: the form in which a file an output folder may hold either way is stored.
std::string StoredFormOf(const std::string& plainPath);

// A file written as a stream: plain, or gzip-compressed when its name ends in GZIP_SUFFIX. The
// compressed bytes depend only on the text written (the gzip header carries no time or name).
class OutputFile : public std::ostream {
public:
    OutputFile();
    explicit OutputFile(const std::string& path);
    ~OutputFile() override;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Creates or replaces `path`; sets failbit when it cannot be created.
    void open(const std::string& path);
    bool is_open() const;
    // Writes out what is buffered (and the gzip trailer) and closes; sets failbit on an I/O error.
    void close();

private:
    std::unique_ptr<std::streambuf> buffer_;
};

// A file read as a stream, plain or gzip-compressed as its first bytes say. Damaged compressed
// data ends the stream early; Damage() then says what is wrong, naming the file.
class InputFile : public std::istream {
public:
    explicit InputFile(const std::string& path);
    ~InputFile() override;
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    bool is_open() const;
    bool Compressed() const { return compressed_; }
    // Empty while everything read so far was sound; otherwise why the file cannot be read to its
    // end ("'trace.jsonl.gz' is truncated: ..." or "'trace.jsonl.gz' is corrupt: ...").
    std::string Damage() const;
    // Reads the rest of the file and returns Damage(): whether a text that reads wrong was damaged
    // (damaged compressed data may inflate to wrong text before zlib can tell).
    std::string DamageInRest();

private:
    std::unique_ptr<std::streambuf> buffer_;
    bool compressed_ = false;
};

// Writes `sourcePath` compressed to `sourcePath` + GZIP_SUFFIX (through a temporary file, so a
// reader never sees half of it) and removes the source. False with an error naming the file.
bool CompressFileInPlace(const std::string& sourcePath, std::string& error);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_COMPRESSED_FILE_H
