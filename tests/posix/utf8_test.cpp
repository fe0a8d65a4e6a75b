#include "posix/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace posix {

namespace {

TEST(Utf8, ATextIsTakenApartIntoItsCharacters) {
  std::string_view text = "aß日🙂";
  std::u32string characters;
  while (!text.empty()) {
    const auto character = TakeCharacter(&text);
    ASSERT_TRUE(character.has_value()) << text;
    characters += *character;
  }
  EXPECT_EQ(characters, U"aß日🙂");
}

TEST(Utf8, WhatIsNotWellFormedStays) {
  for (const char* bytes : {"\x80", "\xff", "\xc3", "\xe6\x97", "\xc0\x80", "\xe0\x80\x80", "\xed\xa0\x80",
                            "\xed\xbf\xbf", "\xf4\x90\x80\x80", "\xf8\x88\x80\x80\x80", "\xc3\x61"}) {
    std::string_view text = bytes;
    EXPECT_EQ(TakeCharacter(&text), std::nullopt) << bytes;
    EXPECT_EQ(text, bytes);
  }
}

}  // namespace
}  // namespace posix
