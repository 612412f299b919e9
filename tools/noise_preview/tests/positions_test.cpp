#include "noise_preview_run.h"
#include "picture_reference.h"

#include <zr_maths/maths_noise_fast.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace PictureReference;

class NoisePreviewPositions : public NoisePreview {
protected:
    /// More positions than the program reads at once.
    static constexpr uint32_t kCount = 40000;

    /// Short as decimals.
    static std::vector<float> Numbers(uint32_t dimension) {
        CStdRandomGenerator generator(3);
        std::vector<float> numbers(size_t{kCount} * dimension + 1);
        generator.FillRandomFloats({numbers.data(), kCount * dimension}, -300.0f, 300.0f);
        for (float& number : numbers) {
            number = std::round(number * 8.0f) / 8.0f;
        }
        return numbers;
    }

    void WriteNumpy(const std::string& name, const std::string& type, const std::string& shape,
                    const std::vector<float>& numbers, size_t numberCount, const std::string& order = "False",
                    char version = 1) const {
        std::string words =
            "{'descr': '" + type + "', 'fortran_order': " + order + ", 'shape': " + shape + ", }\n";
        std::ofstream file(m_Folder / name, std::ios::binary);
        file << "\x93NUMPY" << version << '\0' << static_cast<char>(words.size()) << '\0';
        if (version > 1) {
            file << '\0' << '\0';
        }
        file << words;
        file.write(reinterpret_cast<const char*>(numbers.data()),
                   static_cast<std::streamsize>(4 * numberCount));
    }

    /// Into p.npy.
    void WriteDoubles(const std::vector<double>& numbers, const std::string& shape) const {
        std::vector<float> halves(2 * numbers.size());
        std::memcpy(halves.data(), numbers.data(), 8 * numbers.size());
        WriteNumpy("p.npy", "<f8", shape, halves, halves.size());
    }

    void WriteText(const std::string& name, const std::string& text) const {
        std::ofstream(m_Folder / name) << text;
    }

    std::vector<float> Sampled(const std::string& options) const {
        const CResult result = Run("--seed 7 " + options + " --output a.npy");
        EXPECT_EQ(result.m_ExitCode, 0) << options << ": " << result.m_Errors;
        const std::string content = ReadFile(m_Folder / "a.npy");
        std::vector<float> samples(content.size() < 128 ? 0 : (content.size() - 128) / 4);
        std::memcpy(samples.data(), content.data() + 128, samples.size() * 4);
        EXPECT_NE(content.find("'shape': (" + std::to_string(samples.size()) + ",), }"), std::string::npos);
        return samples;
    }

    static std::vector<float> Expected(uint32_t dimension, const std::vector<float>& numbers,
                                       uint32_t count = kCount) {
        CStdRandomGenerator generator(7);
        const CFastNoise3 noise(&generator);
        std::vector<float> samples(count);
        const TStridedMemoryView<float> output(samples.data(), count, 4);
        const auto sample = [&]<typename TPosition>(TSampler<TPosition> sampler) {
            (noise.*sampler)(output,
                             {reinterpret_cast<const TPosition*>(numbers.data()), count, sizeof(TPosition)});
        };
        switch (dimension) {
        case 1:
            sample(&CFastNoise3::SampleQuintic1D);
            break;
        case 2:
            sample(&CFastNoise3::SampleQuintic2D);
            break;
        case 3:
            sample(&CFastNoise3::SampleQuintic3D);
            break;
        default:
            sample(&CFastNoise3::SampleQuintic4D);
            break;
        }
        return samples;
    }
};

TEST_F(NoisePreviewPositions, OfNumpyArraysInEveryDimension) {
    for (uint32_t dimension = 1; dimension <= 4; ++dimension) {
        const std::vector<float> numbers = Numbers(dimension);
        WriteNumpy("p.npy", "<f4", "(40000, " + std::to_string(dimension) + ")", numbers,
                   size_t{kCount} * dimension);
        EXPECT_TRUE(Sampled("--positions p.npy") == Expected(dimension, numbers)) << dimension;
        EXPECT_TRUE(Sampled("--positions p.npy --dimension " + std::to_string(dimension)) ==
                    Expected(dimension, numbers))
            << dimension;
    }
    const std::vector<float> numbers = Numbers(1);
    WriteNumpy("p.npy", "<f4", "(40000,)", numbers, kCount, "False", 2);
    EXPECT_TRUE(Sampled("--positions p.npy") == Expected(1, numbers)) << "a list, in a file of version 2";
}

TEST_F(NoisePreviewPositions, OfArraysOfDoublesAreRoundedToFloats) {
    // Ties go to the even float, on either side.
    WriteDoubles({0.1, -1.75, 0x1.000001p0, 0x1.000003p0, 1e-60, 8388607.9}, "(3, 2)");
    EXPECT_TRUE(Sampled("--positions p.npy") ==
                Expected(2, {0.1f, -1.75f, 1.0f, 0x1.000004p0f, 0.0f, 8388608.0f}, 3));
    for (const double number : {1e39, 0x1.FFFFFFp127, -1e300, HUGE_VAL, std::nan("")}) {
        WriteDoubles({1.0, 2.0, 3.0, 0x1.FFFFFEFp127, 4.0, number}, "(3, 2)");
        ExpectFailure("--positions p.npy", "'p.npy' cannot be read: row 2: ");
    }
    std::vector<double> numbers(40000, 0.5); // more than are read at once
    numbers.back() = 1e39;
    WriteDoubles(numbers, "(40000,)");
    ExpectFailure("--positions p.npy", "row 39999: 1e+39 is not in the range of 32-bit floats");
}

TEST_F(NoisePreviewPositions, OfStandardInputAreTextOrAnArray) {
    WriteText("points", "x,y\n1.5,-2\n0.25,7\n");
    EXPECT_TRUE(Sampled("--positions - <points") == Expected(2, {1.5f, -2.0f, 0.25f, 7.0f}, 2));
    const std::vector<float> numbers = Numbers(3);
    WriteNumpy("points", "<f4", "(40000, 3)", numbers, size_t{kCount} * 3);
    EXPECT_TRUE(Sampled("--positions - <points") == Expected(3, numbers));
    WriteNumpy("points", "<f4", "(40000, 3)", numbers, 12);
    ExpectFailure("--positions - <points", "standard input cannot be read: it ends before its last position");
    ExpectFailure("--positions -", "standard input cannot be read: there are no positions in it");
}

TEST_F(NoisePreviewPositions, OfTextInEveryDimension) {
    for (uint32_t dimension = 1; dimension <= 4; ++dimension) {
        const std::vector<float> numbers = Numbers(dimension);
        std::ofstream file(m_Folder / "p.csv");
        for (size_t k = 0; k < size_t{kCount} * dimension; ++k) {
            file << numbers[k] << ((k + 1) % dimension == 0 ? '\n' : ',');
        }
        file.close();
        EXPECT_TRUE(Sampled("--positions p.csv") == Expected(dimension, numbers)) << dimension;
    }
}

TEST_F(NoisePreviewPositions, TextMayHaveCommentsBlanksAHeaderAndAByteOrderMark) {
    const std::vector<float> numbers = {1.5f, -2.0f, 0.25f, 1000.0f, 7.0f, 0.125f, 0.0f};
    WriteText("p.csv",
              "x, y ,z\r\n\n# the first\n 1.5 ,\t-2,+.25\r\n\n1e3,7,0.125"); // no end of the last line
    EXPECT_TRUE(Sampled("--positions p.csv") == Expected(3, numbers, 2));
    WriteText("p.csv", "# a note\r\n\r\n\"x\",'y',höhe\r\n1.5,-2,0.25\r\n1e3,7,0.125\r\n");
    EXPECT_TRUE(Sampled("--positions p.csv") == Expected(3, numbers, 2))
        << "a header that is not the first line";
    for (const std::string text : {"1.25\n2.5\n", "x\n1.25\n2.5\n"}) { // after a byte order mark
        WriteText("P.CSV", "\xEF\xBB\xBF" + text);
        EXPECT_TRUE(Sampled("--positions P.CSV") == Expected(1, {1.25f, 2.5f}, 2)) << text;
    }
}

TEST_F(NoisePreviewPositions, ArraysMayHaveAnyHeaderThatMeansTheSame) {
    const std::vector<float> numbers = Numbers(2);
    for (const std::string words :
         {"{\"made, by\": (1, 2), \"shape\": (3, 2), \"fortran_order\": False, \"descr\": \"<f4\"}\n",
          "{'fortran_order':False,'shape':(3,2,),'descr':'<f4'}",
          "{ 'shape' : ( 3 , 2 ) , 'descr' : '<f4' , "
          "'fortran_order' : False , }   \n"}) {
        std::ofstream file(m_Folder / "p.npy", std::ios::binary);
        file << std::string("\x93NUMPY\x01", 7) << '\0' << static_cast<char>(words.size()) << '\0' << words;
        file.write(reinterpret_cast<const char*>(numbers.data()), 24);
        file.close();
        EXPECT_TRUE(Sampled("--positions p.npy") == Expected(2, numbers, 3)) << words;
    }
}

TEST_F(NoisePreviewPositions, TheirFileIsNotWrittenOver) {
    const std::vector<float> numbers = Numbers(1);
    WriteNumpy("noise.npy", "<f4", "(8,)", numbers, 8);
    fs::create_symlink("noise.npy", m_Folder / "link.npy");
    for (const std::string options :
         {"--positions noise.npy", "--positions link.npy", "--positions noise.npy --output link.npy"}) {
        ExpectUsageError(options, "the file that --positions are read from");
    }
}

TEST_F(NoisePreviewPositions, NumbersThatAreNoneAreCounted) {
    WriteText("p.csv", "nan\n1\nnan\n2\n");
    const CResult result = Run("--positions p.csv --stats --output a.npy");
    EXPECT_NE(result.m_Output.find("a.npy: 4 positions, "), std::string::npos) << result.m_Output;
    EXPECT_NE(result.m_Output.find("\nnot numbers: 2\nminimum "), std::string::npos) << result.m_Output;
    WriteText("p.csv", "nan\n");
    EXPECT_EQ(Run("--positions p.csv --stats --output a.npy").m_Output.find("minimum"), std::string::npos);
}

TEST_F(NoisePreviewPositions, TheDefaultIsANumpyFile) {
    WriteText("p.csv", "1,2\n");
    ASSERT_EQ(Run("--positions p.csv").m_ExitCode, 0);
    EXPECT_EQ(ReadFile(m_Folder / "noise.npy").size(), 132u);
    ASSERT_EQ(Run("--positions p.csv --output a.raw").m_ExitCode, 0);
    EXPECT_EQ(ReadFile(m_Folder / "a.raw").find("vestrel noise raw 1\nfloat32 little-endian\nshape 1 "), 0u);
    ExpectUsageError("--positions p.csv --output a.png", "'a.png' is not a .npy or .raw file");
    ExpectUsageError("--positions p.csv --output a.exr", "'a.exr' is not a .npy or .raw file");
}

TEST_F(NoisePreviewPositions, BadTextIsNamedWithItsLine) {
    const auto expectFailure = [&](const std::string& text, const std::string& about) {
        WriteText("p.csv", text);
        ExpectFailure("--positions p.csv", "'p.csv' cannot be read: " + about);
    };
    expectFailure("1,2,3\n4,5,6\n7,8\n", "line 3: expected 3 numbers, found 2");
    expectFailure("1,2,3\n\n# a note\n4,5,", "line 4: '' is not a number");
    expectFailure("x,y\n1,2\n3,4,5\n", "line 3: expected 2 numbers, found 3");
    expectFailure("1,2\n3,four\n", "line 2: 'four' is not a number");
    expectFailure("1,2\n3,1e99\n", "line 2: '1e99' is not a number in the range of 32-bit floats");
    expectFailure("1;2\n", "line 1: '1;2' is not a number (numbers are separated by commas)");
    expectFailure("1.O\n2\n", "line 1: '1.O' is not a number");
    expectFailure("1e39,1e39\n1,2\n", "line 1: '1e39' is not a number in the range of 32-bit floats");
    expectFailure("\"1.5\",\"2\"\n1,2\n", "line 1: '\"1.5\"' is not a number");
    expectFailure(",\n1,2\n", "line 1: '' is not a number");
    expectFailure("x,y\n", "there are no positions in it");
    expectFailure("1,2\n+-3,4\n", "line 2: '+-3' is not a number");
    expectFailure(std::string("1,2\0003,\0334\n1,2\n", 14), "line 1: '2?3' is not a number");
    expectFailure("1," + std::string(100000, '5') + "x\n",
                  "line 1: '" + std::string(40, '5') + "...' is not a number");
    expectFailure("1,2,3,4,5\n", "line 1: expected 1 to 4 numbers, found 5");
    expectFailure("x,2\n", "line 1: 'x' is not a number");
    expectFailure("", "there are no positions in it");
    expectFailure("# nothing\n\n", "there are no positions in it");
    std::string many;
    for (int k = 0; k < 50000; ++k) {
        many += "1,2,3\n";
    }
    expectFailure(many + "1,2\n", "line 50001: expected 3 numbers, found 2");
}

TEST_F(NoisePreviewPositions, BadArraysAreNamed) {
    const std::vector<float> numbers(64);
    const auto expectFailure = [&](const std::string& about) {
        ExpectFailure("--positions p.npy", "'p.npy' cannot be read: " + about);
    };
    WriteNumpy("p.npy", "<i4", "(4, 3)", numbers, 12);
    expectFailure("its numbers are of type '<i4', not '<f4' or '<f8'");
    WriteNumpy("p.npy", ">f4", "(4, 3)", numbers, 12);
    expectFailure("its numbers are of type '>f4'");
    WriteNumpy("p.npy", "<f4", "(4, 3)", numbers, 12, "True");
    expectFailure("it is stored column by column");
    for (const std::string shape : {"(4, 5)", "(4, 0)", "(4, 3, 1)", "()", "(4, x)", "(-1, 3)", "3", "(4 3)",
                                    "(4,,3)", "(4, 3", "[4, 3]", "(4, 3)x", "\x1B[31m"}) {
        WriteNumpy("p.npy", "<f4", shape, numbers, 64);
        expectFailure("its shape is ");
    }
    WriteNumpy("p.npy", "<f4\n", "(4, 3)", numbers, 12);
    expectFailure("its numbers are of type '<f4?'");
    WriteNumpy("p.npy", "<f4', 'other': 'x", "(4, 3)", numbers, 12, "none");
    expectFailure("it is stored column by column");
    WriteNumpy("p.npy", "<f4", "(4, 3)", numbers, 11);
    expectFailure("it ends after 3 of 4 positions");
    WriteNumpy("p.npy", "<f4", "(18446744073709551615, 3)", numbers, 64);
    expectFailure("it ends after 21 of 18446744073709551615 positions");
    WriteText("p.npy", "x,y,z");
    expectFailure("it is not a NumPy array");
    WriteText("p.npy", "");
    expectFailure("it is not a NumPy array");
    WriteText("p.npy", std::string("\x93NUMPY\x01\x00\xFF\x00{'descr'", 18));
    expectFailure("its header is not that of a NumPy array");
    WriteText("p.npy", std::string("\x93NUMPY\x07\x00\x02\x00\x00\x00{}", 14));
    expectFailure("its header is not that of a NumPy array");
}

TEST_F(NoisePreviewPositions, FilesThatCannotBeReadAreNamed) {
    ExpectFailure("--positions missing.csv", "'missing.csv' cannot be read: No such file or directory");
    ExpectFailure("--positions missing.npy", "'missing.npy' cannot be read: No such file or directory");
    fs::create_directory(m_Folder / "folder.csv");
    ExpectFailure("--positions folder.csv", "'folder.csv' cannot be read: it is not a file");
    WriteText("p.txt", "1,2\n");
    ExpectFailure("--positions p.txt", "positions are read from .npy and .csv files, and 'p.txt' is neither");
}

TEST_F(NoisePreviewPositions, OtherDimensionsAndPicturesAreRefused) {
    WriteText("p.csv", "1,2\n");
    ExpectFailure("--positions p.csv --dimension 3", "'p.csv' has positions in 2D, not in --dimension 3");
    for (const std::string option :
         {"--shade value", "--colours magma", "--compare qualities", "--curve", "--tile", "--size 9x9",
          "--cells 3", "--slice 1", "--slice-w 1", "--animate 1", "--bits 16", "--curve --line 1"}) {
        ExpectUsageError("--positions p.csv " + option, ": it is for pictures, not for --positions");
    }
}

} // namespace
