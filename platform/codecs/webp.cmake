quellor_module(webp SOURCES webp.cpp PACKAGES libwebp libwebpdemux)
