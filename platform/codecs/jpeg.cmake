quellor_module(jpeg
  SOURCES jpeg.cpp jpeg_decode.cpp jpeg_decode.h jpeg_markers.cpp jpeg_markers.h jpeg_multi_picture.cpp
    jpeg_multi_picture.h jpeg_segments.cpp jpeg_segments.h jpeg_session.cpp jpeg_session.h
    photoshop_resources.cpp photoshop_resources.h big_endian.h sample_memory.h
  PACKAGES libjpeg
  LIBRARIES platform_metadata)
