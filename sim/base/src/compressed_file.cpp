#include "compressed_file.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <vector>

#include <zlib.h>

namespace OHOS::Sim {

namespace {

constexpr size_t kBufferBytes = 64 * 1024;
constexpr unsigned kZlibBufferBytes = 128 * 1024;
constexpr std::array<unsigned char, 2> kGzipMagic = {0x1f, 0x8b};

bool StartsWithGzipMagic(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::array<char, 2> head{};
    in.read(head.data(), head.size());
    return in.gcount() == static_cast<std::streamsize>(head.size()) &&
           static_cast<unsigned char>(head[0]) == kGzipMagic[0] && static_cast<unsigned char>(head[1]) == kGzipMagic[1];
}

// Compresses what is written through it into a gzip file.
class GzipWriteBuffer final : public std::streambuf {
public:
    explicit GzipWriteBuffer(const std::string& path) : file_(gzopen(path.c_str(), "wb")), buffer_(kBufferBytes)
    {
        if (file_ != nullptr) {
            gzbuffer(file_, kZlibBufferBytes);
        }
        setp(buffer_.data(), buffer_.data() + buffer_.size());
    }
    ~GzipWriteBuffer() override { Close(); }
    GzipWriteBuffer(const GzipWriteBuffer&) = delete;
    GzipWriteBuffer& operator=(const GzipWriteBuffer&) = delete;

    bool IsOpen() const { return file_ != nullptr; }

    // False when anything could not be written.
    bool Close()
    {
        if (file_ == nullptr) {
            return false;
        }
        const bool written = WritePending();
        const bool closed = gzclose(file_) == Z_OK;
        file_ = nullptr;
        return written && closed;
    }

protected:
    int_type overflow(int_type c) override
    {
        if (!WritePending()) {
            return traits_type::eof();
        }
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            *pptr() = traits_type::to_char_type(c);
            pbump(1);
        }
        return traits_type::not_eof(c);
    }

    int sync() override { return WritePending() ? 0 : -1; }

private:
    bool WritePending()
    {
        const auto pending = static_cast<unsigned>(pptr() - pbase());
        setp(buffer_.data(), buffer_.data() + buffer_.size());
        return file_ != nullptr && (pending == 0 || gzwrite(file_, buffer_.data(), pending) == static_cast<int>(pending));
    }

    gzFile file_;
    std::vector<char> buffer_;
};

// Inflates a gzip file as it is read, and remembers why it stopped early.
class GzipReadBuffer final : public std::streambuf {
public:
    explicit GzipReadBuffer(const std::string& path)
        : path_(path), file_(gzopen(path.c_str(), "rb")), buffer_(kBufferBytes)
    {
        if (file_ != nullptr) {
            gzbuffer(file_, kZlibBufferBytes);
        }
        setg(buffer_.data(), buffer_.data(), buffer_.data());
    }
    ~GzipReadBuffer() override
    {
        if (file_ != nullptr) {
            gzclose(file_);
        }
    }
    GzipReadBuffer(const GzipReadBuffer&) = delete;
    GzipReadBuffer& operator=(const GzipReadBuffer&) = delete;

    bool IsOpen() const { return file_ != nullptr; }
    const std::string& Damage() const { return damage_; }

protected:
    int_type underflow() override
    {
        if (file_ == nullptr || !damage_.empty()) {
            return traits_type::eof();
        }
        const int read = gzread(file_, buffer_.data(), static_cast<unsigned>(buffer_.size()));
        if (read <= 0) {
            NoteDamage();
            return traits_type::eof();
        }
        setg(buffer_.data(), buffer_.data(), buffer_.data() + read);
        return traits_type::to_int_type(buffer_[0]);
    }

private:
    // After a read that gave nothing: the end of the data, or damage zlib reported.
    void NoteDamage()
    {
        int code = Z_OK;
        const char* message = gzerror(file_, &code);
        if (code == Z_BUF_ERROR) {
            damage_ = "'" + path_ + "' is truncated: its compressed data ends early";
        } else if (code == Z_ERRNO) {
            damage_ = "'" + path_ + "' cannot be read: " + std::strerror(errno);
        } else if (code != Z_OK) {
            damage_ = "'" + path_ + "' is corrupt: " + message;
        }
    }

    std::string path_;
    gzFile file_;
    std::vector<char> buffer_;
    std::string damage_;
};

} // namespace

bool IsCompressedName(const std::string& path)
{
    return path.size() > GZIP_SUFFIX.size() &&
           path.compare(path.size() - GZIP_SUFFIX.size(), GZIP_SUFFIX.size(), GZIP_SUFFIX) == 0;
}

std::string StoredFormOf(const std::string& plainPath)
{
    std::error_code ec;
    const std::string compressed = plainPath + GZIP_SUFFIX;
    if (!std::filesystem::exists(plainPath, ec) && std::filesystem::exists(compressed, ec)) {
        return compressed;
    }
    return plainPath;
}

OutputFile::OutputFile() : std::ostream(nullptr) {}

OutputFile::OutputFile(const std::string& path) : OutputFile()
{
    open(path);
}

OutputFile::~OutputFile()
{
    if (is_open()) {
        close();
    }
}

void OutputFile::open(const std::string& path)
{
    if (IsCompressedName(path)) {
        buffer_ = std::make_unique<GzipWriteBuffer>(path);
    } else {
        auto plain = std::make_unique<std::filebuf>();
        plain->open(path, std::ios::out | std::ios::binary | std::ios::trunc);
        buffer_ = std::move(plain);
    }
    rdbuf(buffer_.get());
    if (!is_open()) {
        setstate(std::ios::failbit);
    }
}

bool OutputFile::is_open() const
{
    if (const auto* gzip = dynamic_cast<const GzipWriteBuffer*>(buffer_.get())) {
        return gzip->IsOpen();
    }
    const auto* plain = dynamic_cast<const std::filebuf*>(buffer_.get());
    return plain != nullptr && plain->is_open();
}

void OutputFile::close()
{
    bool closed = false;
    if (auto* gzip = dynamic_cast<GzipWriteBuffer*>(buffer_.get())) {
        closed = gzip->Close();
    } else if (auto* plain = dynamic_cast<std::filebuf*>(buffer_.get())) {
        closed = plain->close() != nullptr;
    }
    if (!closed) {
        setstate(std::ios::failbit);
    }
}

InputFile::InputFile(const std::string& path) : std::istream(nullptr), compressed_(StartsWithGzipMagic(path))
{
    if (compressed_) {
        buffer_ = std::make_unique<GzipReadBuffer>(path);
    } else {
        auto plain = std::make_unique<std::filebuf>();
        plain->open(path, std::ios::in | std::ios::binary);
        buffer_ = std::move(plain);
    }
    rdbuf(buffer_.get());
    if (!is_open()) {
        setstate(std::ios::failbit);
    }
}

InputFile::~InputFile() = default;

bool InputFile::is_open() const
{
    if (const auto* gzip = dynamic_cast<const GzipReadBuffer*>(buffer_.get())) {
        return gzip->IsOpen();
    }
    const auto* plain = dynamic_cast<const std::filebuf*>(buffer_.get());
    return plain != nullptr && plain->is_open();
}

std::string InputFile::Damage() const
{
    const auto* gzip = dynamic_cast<const GzipReadBuffer*>(buffer_.get());
    return gzip != nullptr ? gzip->Damage() : std::string();
}

std::string InputFile::DamageInRest()
{
    clear();
    ignore(std::numeric_limits<std::streamsize>::max());
    return Damage();
}

bool CompressFileInPlace(const std::string& sourcePath, std::string& error)
{
    const std::string target = sourcePath + GZIP_SUFFIX;
    const std::string temporary = sourcePath + ".tmp" + GZIP_SUFFIX;
    std::ifstream in(sourcePath, std::ios::binary);
    if (!in) {
        error = "cannot read '" + sourcePath + "'";
        return false;
    }
    OutputFile out(temporary);
    std::vector<char> chunk(kBufferBytes);
    while (out && in.read(chunk.data(), static_cast<std::streamsize>(chunk.size())).gcount() > 0) {
        out.write(chunk.data(), in.gcount());
    }
    out.close();
    if (!out || in.bad()) {
        std::remove(temporary.c_str());
        error = "cannot write '" + target + "'";
        return false;
    }
    if (std::rename(temporary.c_str(), target.c_str()) != 0 || std::remove(sourcePath.c_str()) != 0) {
        error = "cannot replace '" + sourcePath + "' by '" + target + "': " + std::strerror(errno);
        return false;
    }
    return true;
}

} // namespace OHOS::Sim
