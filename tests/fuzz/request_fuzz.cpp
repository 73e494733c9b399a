// Property: a request that decodes can be answered, and the answer gives its texts back to any JSON parser.

#include <span>

#include <nlohmann/json.hpp>

#include "protocol/request_decoder.h"
#include "protocol/response_encoder.h"
#include "tests/fuzz/fuzz_target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quellor;
  HelperRequest request;
  try {
    request = decodeRequest({reinterpret_cast<const char*>(data), size});
  } catch (const DecodingFailure&) {
    return 0;
  }
  HelperResponse response = HelperResponse::failed(request.operation, {"code", request.inputPath}, 0);
  response.quality = request.quality;
  const auto answer = nlohmann::json::parse(encodeResponse(response));
  FUZZ_REQUIRE(answer["operation"] == request.operation);
  FUZZ_REQUIRE(answer["error"]["message"] == request.inputPath);
  FUZZ_REQUIRE(answer.contains("quality") == request.quality.has_value());
  FUZZ_REQUIRE(!request.quality || answer["quality"].get<double>() == *request.quality);
  return 0;
}
