// A folder that exists for the length of a test; an environment variable points to it, if wanted.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class TempFolder {
  public:
    explicit TempFolder(const char *variable = nullptr) : variable_(variable)
    {
        std::string name = "/tmp/ptz-test-XXXXXX";
        path_ = mkdtemp(name.data());
        if (variable_ != nullptr)
            setenv(variable_, path_.c_str(), 1);
    }
    TempFolder(const TempFolder &) = delete;
    ~TempFolder()
    {
        if (variable_ != nullptr)
            unsetenv(variable_);
        std::filesystem::remove_all(path_);
    }

    const std::filesystem::path &path() const { return path_; }
    std::string file(const std::string &name) const { return path_ / name; }
    void write(const std::string &name, const std::string &text) const
    {
        std::filesystem::create_directories((path_ / name).parent_path());
        std::ofstream(path_ / name) << text;
    }
    std::string read(const std::string &name) const
    {
        std::ifstream stream(path_ / name);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

  private:
    const char *variable_;
    std::filesystem::path path_;
};
