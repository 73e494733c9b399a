// Why files are refused: prints for each file named its format, and the first reason why it is not described or not
// decoded.
//
//   refusals FILE...

#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "platform/formats/image_format.h"

namespace {

using namespace quellor;

Bytes readFile(const char* path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::string verdictOn(ByteView file) {
  const ImageFormat* const format = formatOf(file);
  if (format == nullptr) return "no known format";
  const std::string name = std::string(format->name) + ": ";
  const auto facts = format->describe(file);
  if (!facts) return name + "not described: " + facts.reason();
  const auto raster = format->decode(file);
  return name + (raster ? "decoded" : std::string("not decoded: ") + raster.reason());
}

}  // namespace

int main(int count, char** arguments) {
  try {
    for (int i = 1; i < count; ++i) std::cout << arguments[i] << ": " << verdictOn(readFile(arguments[i])) << '\n';
    return 0;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
