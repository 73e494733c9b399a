quellor_module(heif SOURCES heif.cpp ../formats/heic_encoder.cpp LIBRARIES platform_formats)
