# The reader, for JPEG files and for JPEG items of HEIF files.
pkg_check_modules(libjpeg REQUIRED IMPORTED_TARGET libjpeg)
add_library(platform_jpeg STATIC jpeg_decode.cpp jpeg_decode.h jpeg_session.cpp jpeg_session.h sample_memory.h)
target_link_libraries(platform_jpeg PUBLIC platform_values PkgConfig::libjpeg PRIVATE quellor_warnings)

quellor_module(jpeg
  SOURCES jpeg.cpp jpeg_markers.cpp jpeg_markers.h jpeg_multi_picture.cpp jpeg_multi_picture.h jpeg_segments.cpp
    jpeg_segments.h photoshop_resources.cpp photoshop_resources.h big_endian.h
  LIBRARIES platform_jpeg platform_metadata)
