quellor_module(tiff
  SOURCES tiff.cpp tiff_decode.cpp tiff_decode.h tiff_directories.cpp tiff_directories.h tiff_file.cpp tiff_file.h
          tiff_layout.cpp tiff_layout.h tiff_previews.cpp tiff_previews.h
  PACKAGES libtiff-4
  LIBRARIES platform_metadata)
