quellor_module(png
  SOURCES png.cpp png_chunks.cpp png_chunks.h png_decode.cpp png_decode.h png_session.cpp png_session.h png_text.cpp png_text.h
    photoshop_resources.cpp photoshop_resources.h big_endian.h sample_memory.h
  PACKAGES libpng)
