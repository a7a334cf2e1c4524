#pragma once

/// MPEG-4 part 2 decoding through the entry points of xvidcore's interface, version 4.
///
/// With the build option XVIDCORE_ROOT the real library's header and library are used. Without it, these
/// entry points are this library's own, over libavcodec, with the part of the interface that decoding needs.
/// Callers are written once for both.
///
/// How a packet is decoded: call XVID_DEC_DECODE with what remains of it until it gives a picture
/// (xvid_dec_stats_t::type above 0) or is used up. A stream header (VOL) in the packet is reported by a call
/// of its own, with type XVID_TYPE_VOL and the picture size, before anything of that size is written; the
/// interface carries no buffer size, so this is where the caller makes sure that its buffer holds width x
/// height pixels of its format.
///
/// Beyond xvidcore, for both to know:
///  - With the statistics structure given, the result is the number of bytes used up (> 0), or
///    XVID_ERR_NO_PICTURE when the rest of the packet gives no picture: pictures that wait for their turn,
///    pictures before the first intra picture, damaged data. Nothing was written then and the rest of the
///    packet is done with.
///  - xvidcore itself may return 0 or XVID_ERR_FAIL for such data: a caller that loops must not loop on
///    those.
///  - B-VOPs come out in display order: one packet late, as reordering demands.
///  - xvidcore does not tell which packet a picture came from, and pictures may be late: where
///  XVID_CARRIES_TAGS
///    is defined, a packet's tag comes back with its picture.
///  - Sizes beyond codec::kMaxDimension are refused as damaged data.
///
/// A handle belongs to one thread at a time. Nothing is thrown.

/// The rest of the packet gives no picture (see above).
#define XVID_ERR_NO_PICTURE (-67)

#ifdef NORIX_XVIDCORE
#include <xvid.h>
#else

#define XVID_MAKE_VERSION(major, minor, patch) \
    ((((major)&0xff) << 16) | (((minor)&0xff) << 8) | ((patch)&0xff))
#define XVID_VERSION_MAJOR(version) (((version) >> 16) & 0xff)
#define XVID_VERSION_MINOR(version) (((version) >> 8) & 0xff)
#define XVID_VERSION XVID_MAKE_VERSION(1, 3, 0)

/* Results of both entry points: 0 and above are success. */
#define XVID_ERR_FAIL (-1)
#define XVID_ERR_MEMORY (-2)
#define XVID_ERR_FORMAT (-3)
#define XVID_ERR_VERSION (-4)    /* the structure's version field names another major version */
#define XVID_ERR_END (-5)        /* drained: no further pictures */

/* Output formats (xvid_image_t::csp). */
#define XVID_CSP_PLANAR (1 << 0) /* 4:2:0, plane[0..2] with stride[0..2] */
#define XVID_CSP_I420 (1 << 1)   /* 4:2:0, one buffer: Y, then U and V with half of stride[0] */
#define XVID_CSP_YUY2 (1 << 3)
#define XVID_CSP_BGR (1 << 9)   /* 24 bits, top row first */
#define XVID_CSP_NULL (1 << 14) /* decode, write nothing */

/* xvid_dec_stats_t::type */
#define XVID_TYPE_VOL (-1)
#define XVID_TYPE_NOTHING 0
#define XVID_TYPE_IVOP 1
#define XVID_TYPE_PVOP 2
#define XVID_TYPE_BVOP 3
#define XVID_TYPE_SVOP 4

/* xvid_dec_stats_t::data.vol.general and data.vop.general */
#define XVID_VOL_INTERLACING (1 << 5)
#define XVID_VOP_TOPFIELDFIRST (1 << 9)

/* xvid_dec_frame_t::general. The speed hints are accepted; B-VOPs are left out on XVID_DEC_DROP. */
#define XVID_LOWDELAY (1 << 0)
#define XVID_DISCONTINUITY \
    (1 << 1) /* the packet does not follow the previous one: wait for an intra picture */
#define XVID_DEC_FAST (1 << 29)
#define XVID_DEC_DROP (1 << 30)
#define XVID_DEC_PREROLL ((int)(1u << 31))

/* Operations of xvid_global. */
#define XVID_GBL_INIT 0

/* Operations of xvid_decore. */
#define XVID_DEC_CREATE 0  /* param1: xvid_dec_create_t; handle ignored */
#define XVID_DEC_DESTROY 1 /* no parameters */
#define XVID_DEC_DECODE 2  /* param1: xvid_dec_frame_t, param2: xvid_dec_stats_t or null */

#ifdef __cplusplus
extern "C" {
#endif

/* Parameter of XVID_GBL_INIT. */
typedef struct {
    int version;
    unsigned int cpu_flags; /* ignored: the processor is asked */
    int debug;              /* ignored */
} xvid_gbl_init_t;

/* Parameter of XVID_DEC_CREATE. The last two fields exist from version 1.3 on and are not read for older
 * ones. */
typedef struct {
    int version;
    int width;       /* in: ignored, the stream states it */
    int height;      /* in: ignored */
    void* handle;    /* out: the decoder; the caller gives it back with XVID_DEC_DESTROY */
    int fourcc;      /* in: ignored */
    int num_threads; /* in: ignored, one thread decodes */
} xvid_dec_create_t;

/* Where a picture goes. Packed formats use element 0 only. Memory is the caller's. */
typedef struct {
    int csp;
    void* plane[4];
    int stride[4]; /* bytes from row to row; 0: no padding */
} xvid_image_t;

/* Input of XVID_DEC_DECODE. */
typedef struct {
    int version;
    int general;
    void* bitstream; /* not modified; needs no padding */
    int length; /* bytes; negative: the stream has ended, deliver what still waits (XVID_ERR_END: nothing) */
    xvid_image_t output;
    int brightness; /* ignored; exists from version 1.1 on */
#define XVID_CARRIES_TAGS 1
    long long tag;  /* not in xvidcore: comes back with the picture that the packet holds */
} xvid_dec_frame_t;

/* Outcome of XVID_DEC_DECODE. */
typedef struct {
    int version;
    int type;
    union {
        struct { /* type > 0 */
            int general;
            int time_base;      /* always 0 */
            int time_increment; /* always 0 */
            int* qscale;        /* always null */
            int qscale_stride;  /* always 0 */
        } vop;
        struct { /* type XVID_TYPE_VOL */
            int general;
            int width;
            int height;
            int par; /* pixel aspect: 1 (square) to 5, or 15 with the two numbers below */
            int par_width;
            int par_height;
        } vol;
    } data;
    long long tag; /* not in xvidcore: with type > 0, that of the packet which held this picture */
} xvid_dec_stats_t;

/* Prepares the library; XVID_GBL_INIT only, anything else gives XVID_ERR_FAIL. `handle` and `param2` are
 * null. */
int xvid_global(void* handle, int operation, void* param1, void* param2);

/* Creates, uses and destroys a decoder: see the operations. */
int xvid_decore(void* handle, int operation, void* param1, void* param2);

#ifdef __cplusplus
}
#endif

#endif /* NORIX_XVIDCORE */
