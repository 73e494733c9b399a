#include "platform/codecs/codec_module.h"
#include "platform/formats/heif_decode.h"
#include "platform/heif/heif_facts.h"

QUELLOR_CODEC_MODULE(quellor::heif::factsOf, quellor::heif::decodePrimaryImage)
