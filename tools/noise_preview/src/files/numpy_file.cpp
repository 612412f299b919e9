#include "files/float_file.h"

#include <bit>
#include <string>

namespace NoisePreview {

static_assert(std::endian::native == std::endian::little, "floats are copied from memory");

namespace {

/// Enough for any shape, so that the header can be written last. NumPy wants a multiple of 64.
constexpr size_t kHeaderSize = 128;

std::string Joined(std::span<const uint64_t> shape, const char* between) {
    std::string text;
    for (const uint64_t extent : shape) {
        text += (text.empty() ? "" : between) + std::to_string(extent);
    }
    return text;
}

/// NumPy's format, version 1.0: signature, length of the rest of the header, and a Python dictionary.
std::string NumpyHeader(std::span<const uint64_t> shape) {
    const std::string comma = shape.size() == 1 ? "," : "";
    std::string dictionary =
        "{'descr': '<f4', 'fortran_order': False, 'shape': (" + Joined(shape, ", ") + comma + "), }";
    constexpr size_t kDictionarySize = kHeaderSize - 10;
    dictionary.resize(kDictionarySize - 1, ' ');
    return std::string("\x93NUMPY\x01\x00", 8) + static_cast<char>(kDictionarySize) + '\0' + dictionary +
           '\n';
}

std::string RawHeader(std::span<const uint64_t> shape) {
    std::string text = "vestrel noise raw 1\nfloat32 little-endian\nshape " + Joined(shape, " ");
    text.resize(kHeaderSize - 2, ' ');
    return text + "\n\n";
}

class CNumpyOrRawFile final : public CFloatFile {
public:
    CNumpyOrRawFile(COutputFile& file, bool isNumpy) : m_File(file), m_IsNumpy(isNumpy) {
        m_File.Write(std::string(kHeaderSize, ' ').data(), kHeaderSize);
    }

    void Add(std::span<const float> values) override {
        m_File.Write(values.data(), values.size_bytes());
    }

    void Finish(std::span<const uint64_t> shape) override {
        const std::string header = m_IsNumpy ? NumpyHeader(shape) : RawHeader(shape);
        m_File.Seek(0);
        m_File.Write(header.data(), header.size());
        m_File.Finish();
    }

private:
    COutputFile& m_File;
    bool m_IsNumpy;
};

} // namespace

std::unique_ptr<CFloatFile> OpenNumpyOrRaw(COutputFile& file, bool isNumpy) {
    return std::make_unique<CNumpyOrRawFile>(file, isNumpy);
}

} // namespace NoisePreview
