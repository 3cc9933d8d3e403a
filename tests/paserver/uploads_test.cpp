// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "paserver/IncomingUploads.h"
#include "simserver/protocol/Refused.h"
#include "tests/support/TestFolder.h"
#include "tests/support/thrownBy.h"

namespace {

using paserver::IncomingUploads;
using simserver::Refused;

constexpr const char* ofTest = "9f86d081884c7d659a2feaa0c55ad015a3bf4f1b2b0b822cd15d6c15b0f00a08";
constexpr const char* ofNothing =
    "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

struct IncomingUploadsTest : testing::Test {
    static palink::UploadBegin file(std::int64_t size = 4, const std::string& sha256 = ofTest) {
        return {"/home/quillon/tmp/a.wav", size, sha256};
    }

    /// What becomes of a message: the progress or the reason of a refusal.
    template <class Call>
    static std::string outcomeOf(Call call) {
        std::string outcome;
        const std::string refusal = thrownBy<Refused>([&] {
            const palink::UploadProgress progress = call();
            outcome = progress.stored ? "stored" : std::to_string(progress.offset);
        });
        return outcome.empty() ? refusal : outcome;
    }
    std::string begin(const palink::UploadBegin& wanted, const std::string& id = "u") {
        return outcomeOf([&] { return uploads.begin(id, wanted, nowMS); });
    }
    std::string add(std::int64_t offset, const std::string& piece) {
        return outcomeOf([&] { return uploads.add("u", offset, piece, nowMS); });
    }

    TestFolder folder;
    simserver::UploadFolder spool{folder.path()};
    paserver::UploadCounts counts;
    IncomingUploads uploads{spool, counts};
    std::int64_t nowMS = 1000;
};

TEST_F(IncomingUploadsTest, GoOnWhereTheyHaveStopped) {
    EXPECT_EQ(begin(file()), "0");
    EXPECT_EQ(add(0, "te"), "2");
    EXPECT_EQ(add(0, "te"), "2") << "sent again";
    EXPECT_EQ(add(3, "t"), "2") << "one is missing";
    EXPECT_EQ(begin(file()), "2") << "after a lost connection";
    EXPECT_EQ(folder.files(), 1);
    EXPECT_EQ(add(2, "st"), "stored");
    EXPECT_EQ(begin(file()), "stored");
    EXPECT_EQ(folder.files(), 1) << "the draft is the file";
    EXPECT_EQ(begin(file(0, ofNothing), "empty"), "stored");
}

TEST_F(IncomingUploadsTest, LeaveNothingWhenTheyFail) {
    EXPECT_EQ(begin(file(4, ofNothing)), "0");
    EXPECT_EQ(add(0, "test"), "what has arrived has another checksum");
    EXPECT_EQ(add(4, ""), "what has arrived has another checksum");
    EXPECT_EQ(begin(file(), "other"), "0");
    EXPECT_EQ(outcomeOf([&] { return uploads.add("other", 0, "tests", nowMS); }),
              "there is more data than the size that was announced");
    EXPECT_EQ(folder.files(), 0);
    EXPECT_EQ(begin(file(), "late"), "0");
    EXPECT_EQ(folder.files(), 1);
    uploads.expire(nowMS + IncomingUploads::lifeMS - 1);
    EXPECT_EQ(folder.files(), 1);
    uploads.expire(nowMS + IncomingUploads::lifeMS);
    EXPECT_EQ(folder.files(), 0);
    EXPECT_EQ(outcomeOf([&] { return uploads.add("late", 0, "test", nowMS); }),
              "this upload has not begun, or has ended");
}

TEST_F(IncomingUploadsTest, AreLimitedInNameSizeAndNumber) {
    EXPECT_EQ(begin({"/home/quillon/tmp/../a", 4, ofTest}),
              "\"/home/quillon/tmp/../a\" is not a file name in /home/quillon/tmp/");
    EXPECT_EQ(begin(file(IncomingUploads::maxBytes + 1)), "a file may have 268435456 bytes");
    for (std::size_t i = 0; i < IncomingUploads::maxUnderWay; ++i) {
        EXPECT_EQ(begin(file(), std::to_string(i)), "0");
    }
    EXPECT_EQ(begin(file()), "too many files are being uploaded");
    EXPECT_EQ(begin(file(5), "0"), "the upload has begun as another file");
}

}  // namespace
