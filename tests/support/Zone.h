#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

namespace test {

/// Puts the process into a time zone, and into UTC in the end.
class Zone {
 public:
  explicit Zone(const std::string& name) {
    EXPECT_TRUE(std::filesystem::exists("/usr/share/zoneinfo/" + name))
        << "the time zone " << name << " is not installed: package tzdata";
    Set(name);
  }
  ~Zone() { Set("UTC"); }
  Zone(const Zone&) = delete;
  Zone& operator=(const Zone&) = delete;

 private:
  static void Set(const std::string& name) {
    setenv("TZ", name.c_str(), 1);
    tzset();
  }
};

}  // namespace test
