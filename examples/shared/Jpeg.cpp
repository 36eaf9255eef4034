// SPDX-License-Identifier: MIT
#include "shared/Jpeg.h"

#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

// The C library reports a fault by a function that must not return, so that each use of it stands
// between a `setjmp` and a `longjmp`. Between the two lives nothing that has a destructor: what
// must be freed belongs to an object of the caller.

namespace shared {

namespace {

constexpr int kQuality = 90;
constexpr std::size_t kLongestComment = 60'000; // a segment holds 65,533 bytes

struct Faults {
    jpeg_error_mgr manager; // first, so that its address is that of the whole
    std::jmp_buf back;
    char text[JMSG_LENGTH_MAX];
};

void keep_text(j_common_ptr info) {
    auto* const faults = reinterpret_cast<Faults*>(info->err);
    (*info->err->format_message)(info, faults->text);
}

[[noreturn]] void leave(j_common_ptr info) {
    keep_text(info);
    std::longjmp(reinterpret_cast<Faults*>(info->err)->back, 1);
}

jpeg_error_mgr* prepared(Faults& faults) {
    jpeg_error_mgr* const manager = jpeg_std_error(&faults.manager);
    manager->error_exit = leave;
    manager->output_message = keep_text; // instead of the error output
    return manager;
}

struct Writing {
    Writing() { info.err = prepared(faults); }
    ~Writing() {
        jpeg_destroy_compress(&info);
        std::free(bytes);
    }
    Writing(const Writing&) = delete;
    Writing& operator=(const Writing&) = delete;

    Faults faults{};
    jpeg_compress_struct info{};
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
};

bool write(Writing& writing, const Picture& picture, std::string_view comment) {
    if (setjmp(writing.faults.back) != 0) return false;
    jpeg_compress_struct& info = writing.info;
    jpeg_create_compress(&info);
    jpeg_mem_dest(&info, &writing.bytes, &writing.size);
    info.image_width = static_cast<JDIMENSION>(picture.width());
    info.image_height = static_cast<JDIMENSION>(picture.height());
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, kQuality, TRUE);
    info.dct_method = JDCT_ISLOW;
    info.comp_info[0].h_samp_factor = 1;
    info.comp_info[0].v_samp_factor = 1;
    jpeg_start_compress(&info, TRUE);
    jpeg_write_marker(&info, JPEG_COM, reinterpret_cast<const JOCTET*>(comment.data()),
                      static_cast<unsigned int>(comment.size()));
    while (info.next_scanline < info.image_height) {
        // The library reads the line only.
        JSAMPROW line =
            const_cast<unsigned char*>(picture.line(static_cast<int>(info.next_scanline)));
        jpeg_write_scanlines(&info, &line, 1);
    }
    jpeg_finish_compress(&info);
    return true;
}

struct Reading {
    Reading() { info.err = prepared(faults); }
    ~Reading() { jpeg_destroy_decompress(&info); }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

    Faults faults{};
    jpeg_decompress_struct info{};
};

bool read_header(Reading& reading, std::string_view bytes) {
    if (setjmp(reading.faults.back) != 0) return false;
    jpeg_create_decompress(&reading.info);
    jpeg_save_markers(&reading.info, JPEG_COM, 0xFFFF);
    jpeg_mem_src(&reading.info, reinterpret_cast<const unsigned char*>(bytes.data()),
                 static_cast<unsigned long>(bytes.size()));
    jpeg_read_header(&reading.info, TRUE);
    reading.info.out_color_space = JCS_RGB;
    return true;
}

bool read_lines(Reading& reading, Picture& picture) {
    if (setjmp(reading.faults.back) != 0) return false;
    jpeg_decompress_struct& info = reading.info;
    jpeg_start_decompress(&info);
    while (info.output_scanline < info.output_height) {
        JSAMPROW line = picture.line(static_cast<int>(info.output_scanline));
        jpeg_read_scanlines(&info, &line, 1);
    }
    jpeg_finish_decompress(&info);
    // What is missing at the end is told by a warning only.
    return info.err->num_warnings == 0;
}

} // namespace

std::string jpegOf(const Picture& picture, std::string_view comment) {
    Writing writing;
    if (!write(writing, picture, comment.substr(0, kLongestComment))) return std::string();
    return std::string(reinterpret_cast<const char*>(writing.bytes), writing.size);
}

JpegContent readJpeg(std::string_view bytes) {
    JpegContent content;
    Reading reading;
    if (!read_header(reading, bytes)) {
        content.fault = reading.faults.text;
        return content;
    }
    const jpeg_decompress_struct& info = reading.info;
    if (const jpeg_saved_marker_ptr comment = info.marker_list) {
        content.comment.assign(reinterpret_cast<const char*>(comment->data), comment->data_length);
    }
    if (info.image_width > Picture::kLongestSide || info.image_height > Picture::kLongestSide) {
        content.fault = "the picture is too large";
        return content;
    }
    Picture picture(static_cast<int>(info.image_width), static_cast<int>(info.image_height));
    if (read_lines(reading, picture)) {
        content.picture = std::move(picture);
    } else {
        content.fault = reading.faults.text;
    }
    return content;
}

} // namespace shared
