// Watches that a test closes every file that it opens, in the tests of the plug-in and of the reference host alike.
#ifndef TESTS_SUPPORT_DESCRIPTOR_WATCH_H
#define TESTS_SUPPORT_DESCRIPTOR_WATCH_H

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

// Fails the test when, at the object's end, other descriptors are open in this process than at its beginning. To be the
// first member of a fixture, so that everything else is gone by then.
class DescriptorWatch {
 public:
  DescriptorWatch() : before_(Open()) {}
  ~DescriptorWatch() {
    const Descriptors after = Open();
    EXPECT_EQ(Without(after, before_), Descriptors()) << "a descriptor was left open";
    EXPECT_EQ(Without(before_, after), Descriptors()) << "a descriptor of somebody else was closed";
  }

  DescriptorWatch(const DescriptorWatch&) = delete;
  DescriptorWatch& operator=(const DescriptorWatch&) = delete;

 private:
  using Descriptors = std::set<std::string>;  // each as "NUMBER what it is"

  // Without the one that this look itself takes.
  static Descriptors Open() {
    Descriptors descriptors;
    const std::filesystem::path self = std::filesystem::canonical("/proc/self/fd");
    for (const auto& entry : std::filesystem::directory_iterator(self)) {
      const std::string target = std::filesystem::read_symlink(entry.path()).string();
      if (target != self) {
        descriptors.insert(entry.path().filename().string() + " " + target);
      }
    }
    return descriptors;
  }

  static Descriptors Without(Descriptors descriptors, const Descriptors& others) {
    std::erase_if(descriptors, [&](const std::string& descriptor) { return others.contains(descriptor); });
    return descriptors;
  }

  const Descriptors before_;
};

#endif  // TESTS_SUPPORT_DESCRIPTOR_WATCH_H
