#include "files/float_file.h"

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfOutputFile.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace NoisePreview {

namespace {

/// OpenEXR's output stream over a COutputFile.
class CStream final : public Imf::OStream {
public:
    explicit CStream(const COutputFile& file) : OStream("the output"), m_File(file) {}

    void write(const char bytes[], int count) override {
        m_File.Write(bytes, static_cast<size_t>(count));
    }
    uint64_t tellp() override {
        return static_cast<uint64_t>(ftello(m_File.Stream()));
    }
    void seekp(uint64_t position) override {
        m_File.Seek(position);
    }

private:
    const COutputFile& m_File;
};

/// Wider rows are compressed one by one rather than sixteen at a time, which would take much memory.
constexpr uint32_t kWide = 65536;

std::vector<std::string> ChannelNames(bool isGradient) {
    return isGradient ? std::vector<std::string>{"gradient.x", "gradient.y", "gradient.z"}
                      : std::vector<std::string>{"Y"};
}

class CExrFile final : public CFloatFile {
public:
    CExrFile(COutputFile& file, uint32_t width, uint32_t height, bool isGradient)
        : m_File(file), m_Stream(file), m_Row(width * ChannelNames(isGradient).size()) {
        const std::vector<std::string> names = ChannelNames(isGradient);
        Imf::Header header(static_cast<int>(width), static_cast<int>(height));
        header.compression() = width > kWide ? Imf::ZIPS_COMPRESSION : Imf::ZIP_COMPRESSION;
        Imf::FrameBuffer buffer;
        for (size_t k = 0; k < names.size(); ++k) {
            header.channels().insert(names[k], Imf::Channel(Imf::FLOAT));
            // A row stride of 0: every row is read from m_Row.
            buffer.insert(names[k], Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(&m_Row[k]),
                                               sizeof(float) * names.size(), 0));
        }
        m_Exr.emplace(m_Stream, header);
        m_Exr->setFrameBuffer(buffer);
    }

    void Add(std::span<const float> values) override {
        while (!values.empty()) {
            const size_t count = std::min(values.size(), m_Row.size() - m_Count);
            std::copy_n(values.begin(), count, &m_Row[m_Count]);
            values = values.subspan(count);
            m_Count = (m_Count + count) % m_Row.size();
            if (m_Count == 0) {
                m_Exr->writePixels();
            }
        }
    }

    void Finish(std::span<const uint64_t>) override {
        m_Exr.reset(); // writes the table of row offsets into the header, and swallows exceptions
        if (std::ferror(m_File.Stream()) != 0) {
            m_File.Fail("its header cannot be completed");
        }
        m_File.Finish();
    }

private:
    COutputFile& m_File;
    CStream m_Stream;
    std::vector<float> m_Row;
    size_t m_Count = 0; // floats in m_Row so far
    std::optional<Imf::OutputFile> m_Exr;
};

} // namespace

std::unique_ptr<CFloatFile> OpenExr(COutputFile& file, uint32_t width, uint32_t height, bool isGradient) {
    return std::make_unique<CExrFile>(file, width, height, isGradient);
}

} // namespace NoisePreview
