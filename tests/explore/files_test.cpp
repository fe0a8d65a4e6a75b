#include "explore/files.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "explore/descriptors.h"

namespace explore {

namespace {

constexpr std::int64_t kSecond = 1'000'000;

class MachineFiles : public testing::Test {
 protected:
  MachineFiles() {
    files_.now = [this] { return now_; };
    (void)files_.Make(files_.Root(), "/srv", true, 0755);
    files_.Root()->Sync();
  }

  FilePointer Make(const char* path, std::string_view content) {
    FilePointer file = files_.Make(files_.Root(), path, false, 0644);
    file->Write(0, content, now_);
    return file;
  }

  // "" also for a file that is not there.
  std::string Content(const char* path) {
    const FilePointer file = files_.Find(path);
    return file ? file->Content() : "";
  }

  Files files_;
  std::int64_t now_ = 0;
};

TEST_F(MachineFiles, AreFoundByPathsOfEveryForm) {
  const FilePointer file = Make("/srv/a", "text");
  for (const char* path : {"/srv/a", "//srv//a", "/srv/./a", "/srv/../srv/a"}) {
    EXPECT_EQ(files_.Find(path), file) << path;
  }
  EXPECT_EQ(files_.Find(files_.Find("/srv"), "a"), file);
  EXPECT_EQ(files_.Find("/srv/b"), nullptr);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(files_.Find("/srv/a/b"), nullptr);
  EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(MachineFiles, ARenamedFileTakesThePlaceOfAnother) {
  Make("/srv/a", "old");
  Make("/srv/b", "new");
  EXPECT_TRUE(files_.Rename("/srv/b", "/srv/a"));
  EXPECT_EQ(Content("/srv/a"), "new");
  EXPECT_EQ(files_.Find("/srv/b"), nullptr);
  EXPECT_FALSE(files_.Rename("/srv/b", "/srv/a"));
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(MachineFiles, AFolderGoesOnlyWhenItIsEmpty) {
  Make("/srv/a", "");
  EXPECT_FALSE(files_.Remove(files_.Root(), "/srv", true));
  EXPECT_EQ(errno, ENOTEMPTY);
  EXPECT_FALSE(files_.Remove(files_.Root(), "/srv/a", true));
  EXPECT_EQ(errno, ENOTDIR);
  EXPECT_TRUE(files_.Remove(files_.Root(), "/srv/a", false));
  EXPECT_TRUE(files_.Remove(files_.Root(), "/srv", true));
}

TEST_F(MachineFiles, WithoutPowerWhatHasNotReachedTheDiskIsGone) {
  const FilePointer file = Make("/srv/a", "kept");
  file->Sync();
  file->Write(4, " and lost", now_);
  files_.LosePower();
  EXPECT_EQ(Content("/srv/a"), "");  // its folder has not reached the disk
  const FilePointer again = Make("/srv/a", "kept");
  again->Sync();
  files_.Find("/srv")->Sync();
  again->Write(4, " and lost", now_);
  files_.LosePower();
  EXPECT_EQ(Content("/srv/a"), "kept");
  again->Truncate(0, now_);
  again->Write(0, "other", now_);
  files_.LosePower();
  EXPECT_EQ(Content("/srv/a"), "kept");
}

TEST_F(MachineFiles, WhatStandsForHalfAMinuteHasReachedTheDisk) {
  Make("/srv/a", "old");
  now_ += 31 * kSecond;
  files_.LosePower();
  EXPECT_EQ(Content("/srv/a"), "old");
  files_.Find("/srv/a")->Write(0, "new", now_);
  now_ += 31 * kSecond;
  files_.Find("/srv/a")->Write(3, "est", now_);
  files_.LosePower();
  EXPECT_EQ(Content("/srv/a"), "new");
}

TEST_F(MachineFiles, AnOpenFileIsReadAndWrittenWhereItStands) {
  const auto open = OpenIn(files_, files_.Root(), "/srv/a", O_RDWR | O_CREAT, 0666);
  ASSERT_TRUE(open);
  EXPECT_EQ(open->file->Mode(), 0644U);
  EXPECT_EQ(WriteTo(*open, "0123456789", 10, now_), 10);
  EXPECT_EQ(Seek(*open, -6, SEEK_END), 4);
  std::array<char, 4> buffer{};
  EXPECT_EQ(ReadFrom(*open, buffer.data(), buffer.size()), 4);
  EXPECT_EQ(std::string(buffer.data(), buffer.size()), "4567");
  EXPECT_EQ(Seek(*open, 20, SEEK_SET), 20);
  EXPECT_EQ(ReadFrom(*open, buffer.data(), buffer.size()), 0);
  EXPECT_FALSE(OpenIn(files_, files_.Root(), "/srv/a", O_RDWR | O_CREAT | O_EXCL, 0666));
  EXPECT_EQ(errno, EEXIST);
  EXPECT_FALSE(OpenIn(files_, files_.Root(), "/srv", O_WRONLY, 0));
  EXPECT_EQ(errno, EISDIR);
}

TEST_F(MachineFiles, ALockHoldsUntilItsLastDescriptorIsClosed) {
  Make("/srv/a", "");
  Descriptors descriptors;
  const int first = descriptors.Add(OpenIn(files_, files_.Root(), "/srv/a", O_RDWR, 0));
  const int second = descriptors.Add(OpenIn(files_, files_.Root(), "/srv/a", O_RDWR, 0));
  const int again = descriptors.Add(descriptors.Get(first));
  EXPECT_TRUE(descriptors[first]->Lock());
  EXPECT_FALSE(descriptors[second]->Lock());
  EXPECT_TRUE(descriptors.Close(first));
  EXPECT_FALSE(descriptors[second]->Lock());
  EXPECT_TRUE(descriptors.Close(again));
  EXPECT_TRUE(descriptors[second]->Lock());
  EXPECT_FALSE(descriptors.Close(again));
  EXPECT_EQ(descriptors.CloseAll(), 1);
}

}  // namespace

}  // namespace explore
