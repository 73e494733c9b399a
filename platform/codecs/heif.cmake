quellor_module(heif
  SOURCES encoder_threads.cpp encoder_threads.h heic_encoder.cpp heic_encoder.h heic_encoder_settings.cpp heic_encoder_settings.h
    heif.cpp heif_decode.cpp heif_decode.h heif_library.cpp heif_library.h heif_raster.cpp heif_raster.h
  PACKAGES libheif
  LIBRARIES platform_heif platform_screen_content platform_threads)
