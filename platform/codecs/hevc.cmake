# A plugin of libheif, loaded by it; see hevc_decoder.cpp.
quellor_module(hevc
  SOURCES
    hevc_bit_reader.h
    hevc_cabac.cpp hevc_cabac.h
    hevc_coding_tree.cpp hevc_coding_tree.h
    hevc_contexts.cpp hevc_contexts.h
    hevc_decoder.cpp
    hevc_frame.cpp hevc_frame.h
    hevc_image.cpp hevc_image.h
    hevc_nal.cpp hevc_nal.h
    hevc_parameter_sets.cpp hevc_parameter_sets.h
    hevc_residual.cpp hevc_residual.h
    hevc_slice_data.cpp hevc_slice_data.h
    hevc_slice_header.cpp hevc_slice_header.h
    hevc_transform_tree.cpp
    hevc_verify.cpp hevc_verify.h
    hevc_vui.cpp hevc_vui.h
  PACKAGES libavcodec libavutil libheif)
