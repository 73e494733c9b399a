find_package(GIF REQUIRED)
quellor_module(gif SOURCES gif.cpp gif_records.cpp gif_records.h LIBRARIES GIF::GIF)
