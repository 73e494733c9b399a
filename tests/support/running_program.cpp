#include "tests/support/running_program.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

#include "tests/support/png_fixture.h"

namespace quellor::test_support {
namespace {

[[noreturn]] void becomeProgram(const char* request, const char* answer, int ignoredSignal) {
  const rlimit noCore{0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  if (ignoredSignal != 0) std::signal(ignoredSignal, SIG_IGN);
  bool ready = std::freopen(request, "r", stdin) != nullptr;
  if (*answer == '\0') {
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
  } else {
    ready = ready && std::freopen(answer, "w", stdout) != nullptr;
  }
  if (ready) execl(QUELLOR_PROGRAM, QUELLOR_PROGRAM, static_cast<char*>(nullptr));
  _exit(127);
}

std::string pictureOf(const PngSpec& spec) {
  const Bytes file = encodePng(spec);
  return {file.begin(), file.end()};
}

}  // namespace

RunningProgram::RunningProgram(const std::filesystem::path& request, const std::filesystem::path& answer,
                               int ignoredSignal)
    : process_(fork()) {
  if (process_ < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (process_ == 0) becomeProgram(request.c_str(), answer.c_str(), ignoredSignal);
}

RunningProgram::~RunningProgram() {
  if (ended_) return;
  send(SIGKILL);
  wait();
}

void RunningProgram::send(int signal) const { kill(process_, signal); }

bool RunningProgram::runs() {
  if (!ended_) ended_ = waitpid(process_, &status_, WNOHANG) == process_;
  return !ended_;
}

int RunningProgram::wait() {
  if (!ended_) ended_ = waitpid(process_, &status_, 0) == process_;
  return status_;
}

std::string RunningProgram::leadsTo(int descriptor) const {
  std::error_code none;
  return std::filesystem::read_symlink("/proc/" + std::to_string(process_) + "/fd/" + std::to_string(descriptor), none)
      .string();
}

bool hasTemporaryFile(const std::filesystem::path& folder) {
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() == ".part") return true;
  }
  return false;
}

bool waitForTemporaryFile(RunningProgram& program, const std::filesystem::path& folder) {
  while (program.runs() && !hasTemporaryFile(folder)) std::this_thread::yield();
  return program.runs();
}

std::string busyPicture(std::uint32_t width, std::uint32_t height) {
  PngSpec spec;
  spec.width = width;
  spec.height = height;
  spec.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t component) {
    std::uint32_t mixed = x * 0x9E3779B1U ^ y * 0x85EBCA77U ^ component * 0xC2B2AE3DU;
    mixed ^= mixed >> 15;
    return (mixed * 0x2C1B3C6DU) >> 24;
  };
  return pictureOf(spec);
}

std::string largePicture() {
  PngSpec spec;
  spec.width = 4000;
  spec.height = 2000;
  spec.sample = [](std::uint32_t, std::uint32_t, std::uint32_t component) { return 50 * component; };
  return pictureOf(spec);
}

}  // namespace quellor::test_support
