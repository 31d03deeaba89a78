// jpeg_stdio.tier.cpp: the codec's stdio source and destination manager, over the application's hooks.
//
// One body serves all letters: a manager is known by the address of its init function, and an object that one
// body has set up must be known to the next.
#include "frame/tier.h"
#include "image/jpeg_hooks.h"

#include <stdio.h>
#include <tonekit/codec/jpeglib.h>
#include <tonekit/codec/jerror.h>

namespace tonekit::TONEKIT_TIER {

namespace {

constexpr size_t kBufferBytes = 4096;

struct HookSource {
    jpeg_source_mgr manager; // first: the codec knows this part
    void *stream;
    JOCTET *buffer;
    bool start_of_file;
};

struct HookDestination {
    jpeg_destination_mgr manager; // first: the codec knows this part
    void *stream;
    JOCTET *buffer;
};

HookSource *Source(j_decompress_ptr cinfo)
{
    return reinterpret_cast<HookSource *>(cinfo->src);
}

HookDestination *Destination(j_compress_ptr cinfo)
{
    return reinterpret_cast<HookDestination *>(cinfo->dest);
}

template <class Object>
void *Allocate(Object *cinfo, int pool, size_t bytes)
{
    return cinfo->mem->alloc_small(reinterpret_cast<j_common_ptr>(cinfo), pool, bytes);
}

void InitSource(j_decompress_ptr cinfo)
{
    // The buffer keeps what it holds: the next image of the same stream may begin in it.
    Source(cinfo)->start_of_file = true;
}

boolean FillInputBuffer(j_decompress_ptr cinfo)
{
    HookSource *source = Source(cinfo);
    size_t count = ReadThroughHook(source->buffer, kBufferBytes, source->stream);
    if (count == 0) {
        if (source->start_of_file)
            ERREXIT(cinfo, JERR_INPUT_EMPTY);
        WARNMS(cinfo, JWRN_JPEG_EOF);
        // A made-up end-of-image marker, so that decoding ends with what there is.
        source->buffer[0] = 0xFF;
        source->buffer[1] = JPEG_EOI;
        count = 2;
    }
    source->manager.next_input_byte = source->buffer;
    source->manager.bytes_in_buffer =
        count < kBufferBytes ? count : kBufferBytes; // a hook can't give more than that
    source->start_of_file = false;
    return TRUE;
}

void SkipInputData(j_decompress_ptr cinfo, long count)
{
    if (count <= 0)
        return;
    jpeg_source_mgr *source = cinfo->src;
    auto left = static_cast<size_t>(count);
    while (left > source->bytes_in_buffer) {
        left -= source->bytes_in_buffer;
        source->fill_input_buffer(cinfo);
    }
    source->next_input_byte += left;
    source->bytes_in_buffer -= left;
}

void TerminateSource(j_decompress_ptr) {}

void OfferWholeBuffer(HookDestination *destination)
{
    destination->manager.next_output_byte = destination->buffer;
    destination->manager.free_in_buffer = kBufferBytes;
}

void InitDestination(j_compress_ptr cinfo)
{
    HookDestination *destination = Destination(cinfo);
    destination->buffer = static_cast<JOCTET *>(Allocate(cinfo, JPOOL_IMAGE, kBufferBytes));
    OfferWholeBuffer(destination);
}

boolean EmptyOutputBuffer(j_compress_ptr cinfo)
{
    HookDestination *destination = Destination(cinfo);
    // The whole buffer, whatever the codec says is free in it.
    if (WriteThroughHook(destination->buffer, kBufferBytes, destination->stream) != kBufferBytes)
        ERREXIT(cinfo, JERR_FILE_WRITE);
    OfferWholeBuffer(destination);
    return TRUE;
}

void TerminateDestination(j_compress_ptr cinfo)
{
    HookDestination *destination = Destination(cinfo);
    const size_t count = kBufferBytes - destination->manager.free_in_buffer;
    if (count > 0 && WriteThroughHook(destination->buffer, count, destination->stream) != count)
        ERREXIT(cinfo, JERR_FILE_WRITE);
}

} // namespace

TONEKIT_BODY(jpeg_stdio_src, void, (j_decompress_ptr cinfo, FILE *stream))
{
    // Source and buffer last as long as the object, so that a series of images can be read from one stream.
    if (!cinfo->src) {
        cinfo->src = static_cast<jpeg_source_mgr *>(Allocate(cinfo, JPOOL_PERMANENT, sizeof(HookSource)));
        cinfo->src->init_source = nullptr; // until the buffer is there
        Source(cinfo)->buffer = static_cast<JOCTET *>(Allocate(cinfo, JPOOL_PERMANENT, kBufferBytes));
    } else if (cinfo->src->init_source != InitSource) {
        ERREXIT(cinfo, JERR_BUFFER_SIZE); // of another kind, whose record may be smaller
    }
    HookSource *source = Source(cinfo);
    source->stream = stream;
    source->manager.init_source = InitSource;
    source->manager.fill_input_buffer = FillInputBuffer;
    source->manager.skip_input_data = SkipInputData;
    source->manager.resync_to_restart = jpeg_resync_to_restart;
    source->manager.term_source = TerminateSource;
    source->manager.bytes_in_buffer = 0;
    source->manager.next_input_byte = nullptr;
}

TONEKIT_PLAIN_BODY(jpeg_stdio_dest, void, (j_compress_ptr cinfo, FILE *stream))
{
    if (!cinfo->dest)
        cinfo->dest =
            static_cast<jpeg_destination_mgr *>(Allocate(cinfo, JPOOL_PERMANENT, sizeof(HookDestination)));
    else if (cinfo->dest->init_destination != InitDestination)
        ERREXIT(cinfo, JERR_BUFFER_SIZE); // of another kind, whose record may be smaller
    HookDestination *destination = Destination(cinfo);
    destination->stream = stream;
    destination->manager.init_destination = InitDestination;
    destination->manager.empty_output_buffer = EmptyOutputBuffer;
    destination->manager.term_destination = TerminateDestination;
}

} // namespace tonekit::TONEKIT_TIER
