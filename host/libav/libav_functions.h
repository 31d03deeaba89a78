// libav_functions.h: the functions of libavformat, libavcodec and libavutil, which are loaded when a file
// first needs them: they bring dozens of libraries with them, and most runs of the program need none.
#pragma once

#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/dict.h>
#include <libavutil/log.h>
#include <libavutil/mem.h>
}

namespace tonekit::host {

#define TONEKIT_LIBAV_FUNCTIONS(X)                                                                           \
    X(av_channel_layout_channel_from_index)                                                                  \
    X(av_dict_count)                                                                                         \
    X(av_dict_free)                                                                                          \
    X(av_dict_get)                                                                                           \
    X(av_dict_set)                                                                                           \
    X(av_find_best_stream)                                                                                   \
    X(av_frame_alloc)                                                                                        \
    X(av_frame_free)                                                                                         \
    X(av_frame_get_buffer)                                                                                   \
    X(av_free)                                                                                               \
    X(av_log_set_level)                                                                                      \
    X(av_malloc)                                                                                             \
    X(av_max_alloc)                                                                                          \
    X(av_packet_alloc)                                                                                       \
    X(av_packet_free)                                                                                        \
    X(av_packet_rescale_ts)                                                                                  \
    X(av_packet_unref)                                                                                       \
    X(av_read_frame)                                                                                         \
    X(av_strerror)                                                                                           \
    X(av_write_frame)                                                                                        \
    X(av_write_trailer)                                                                                      \
    X(avcodec_alloc_context3)                                                                                \
    X(avcodec_descriptor_get)                                                                                \
    X(avcodec_find_decoder)                                                                                  \
    X(avcodec_find_encoder)                                                                                  \
    X(avcodec_free_context)                                                                                  \
    X(avcodec_open2)                                                                                         \
    X(avcodec_parameters_from_context)                                                                       \
    X(avcodec_parameters_to_context)                                                                         \
    X(avcodec_receive_frame)                                                                                 \
    X(avcodec_receive_packet)                                                                                \
    X(avcodec_send_frame)                                                                                    \
    X(avcodec_send_packet)                                                                                   \
    X(avformat_alloc_context)                                                                                \
    X(avformat_alloc_output_context2)                                                                        \
    X(avformat_close_input)                                                                                  \
    X(avformat_find_stream_info)                                                                             \
    X(avformat_free_context)                                                                                 \
    X(avformat_new_stream)                                                                                   \
    X(avformat_open_input)                                                                                   \
    X(avformat_write_header)                                                                                 \
    X(avio_alloc_context)                                                                                    \
    X(avio_context_free)

struct LibavFunctions {
#define TONEKIT_LIBAV_MEMBER(name) decltype(&::name) name = nullptr;
    TONEKIT_LIBAV_FUNCTIONS(TONEKIT_LIBAV_MEMBER)
#undef TONEKIT_LIBAV_MEMBER
};

// The loaded functions. Throws Failure, without a file's name, if the system lacks the library.
const LibavFunctions &Libav();

// What the library says of one of its error numbers.
std::string LibavError(int error);

} // namespace tonekit::host
