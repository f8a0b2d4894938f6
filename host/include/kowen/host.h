/**
 * kowen/host.h - save pictures as JPEG files through the kowen export filter.
 *
 * libkowenhost does what every host of the filter needs: it finds and loads the module, hands
 * pictures over so that they come out as they went in, writes files that appear only when they are
 * whole, and says in a sentence what failed. A program links libkowenhost; the module is loaded at
 * run time.
 *
 *     KowenModule *module = KowenOpenModule(NULL, &result);
 *     KowenSettings *settings = KowenNewSettings();
 *     KowenSet(settings, "quality", "85", &result);
 *     KowenSave(module, &picture, settings, &output, NULL, &result);
 *
 * What holds for all of it:
 * - Strings are NUL-terminated UTF-8 or whatever bytes file names have; borrowed for the call.
 * - Every function that can fail returns KOWEN_HOST_OK (0) or another KOWEN_HOST_... code and fills
 *   the result record, which may be null.
 * - Records that callers make start with their size in bytes (`sizeof` of the record), so that
 *   later versions can add fields at the end. Zero the rest: zero is every field's default.
 * - Any thread may call. The filter's state is one for the process, so calls wait for each other.
 *   From inside one of its callbacks a call that needs the module is refused with
 *   KOWEN_HOST_ERR_BUSY.
 * - Nothing throws, nothing prints, no signal handler is touched. Callbacks must not throw or jump.
 *
 * Usable from C99 and C++.
 */
#ifndef KOWEN_HOST_H
#define KOWEN_HOST_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#ifndef KOWEN_HOST_API
#define KOWEN_HOST_API
#endif

/* Results. */

enum {
    KOWEN_HOST_OK = 0,
    KOWEN_HOST_ERR_ARGUMENT = 1,  /**< a null or senseless argument, an unknown setting or value */
    KOWEN_HOST_ERR_MODULE = 2,    /**< no module found, or it cannot be loaded or is no filter */
    KOWEN_HOST_ERR_MEMORY = 3,    /**< not enough memory */
    KOWEN_HOST_ERR_PICTURE = 4,   /**< the row reader failed */
    KOWEN_HOST_ERR_SIZE = 5,      /**< the JPEG would have no pixels or more than 65535 a side */
    KOWEN_HOST_ERR_OUTPUT = 6,    /**< the output cannot be opened, written or given its name */
    KOWEN_HOST_ERR_EXISTS = 7,    /**< a file of that name must not be replaced */
    KOWEN_HOST_ERR_EXPORT = 8,    /**< the module gave up; moduleCode says with which code */
    KOWEN_HOST_ERR_CANCELLED = 9, /**< the progress callback asked to stop; no file is left */
    KOWEN_HOST_ERR_BUSY = 10,     /**< called from inside a callback */
    KOWEN_HOST_ERR_PROFILE = 11,  /**< a settings profile is missing, unreadable or none */
    KOWEN_HOST_ERR_LIMIT = 12     /**< no quality gives a file of at most max-bytes */
};

/**
 * What a user would not expect, as bits of KowenResult.notes; KowenResult.notesText has sentences.
 */
enum {
    KOWEN_NOTE_PROFILE_USED = 1 << 0, /**< settings came from a profile; profilePath names it */
    KOWEN_NOTE_ENLARGED = 1 << 1,     /**< the JPEG has more pixels than the picture */
    KOWEN_NOTE_REDUCED = 1 << 2,      /**< the JPEG has fewer pixels than the picture */
    KOWEN_NOTE_RESOLUTION_CLAMPED = 1 << 3, /**< the picture's resolution cannot be stated */
    KOWEN_NOTE_COLOURS_CLIPPED = 1 << 4, /**< more vivid than the filter can give, clippedPercent */
    KOWEN_NOTE_FLATTENED = 1 << 5,       /**< transparent pixels were put on the background */
    KOWEN_NOTE_TURNED = 1 << 6,          /**< the picture was turned upright */
    KOWEN_NOTE_CONVERTED_TO_SRGB = 1 << 7, /**< a colour profile was applied, then dropped */
    KOWEN_NOTE_EXIF_KEPT = 1 << 8,
    KOWEN_NOTE_EXIF_DROPPED = 1 << 9,
    KOWEN_NOTE_ICC_KEPT = 1 << 10,
    KOWEN_NOTE_ICC_DROPPED = 1 << 11,
    KOWEN_NOTE_COMMENT_KEPT = 1 << 12,
    KOWEN_NOTE_COMMENT_DROPPED = 1 << 13,
    KOWEN_NOTE_UNCOMMON_FILE = 1 << 14,  /**< many programs cannot read such a file */
    KOWEN_NOTE_QUALITY_LOWERED = 1 << 15 /**< to fit max-bytes; quality says what was used */
};

/** What a call did. Filled by the library; owned by the caller. */
typedef struct KowenResult {
    uint32_t size;          /**< in: sizeof(KowenResult) */
    int32_t code;           /**< what the function returned */
    int32_t moduleCode;     /**< the module's last code: KOWEN_OK, KOWEN_ERR_... of codes.h */
    int32_t systemError;    /**< errno of the failure, or 0 */
    uint64_t bytes;         /**< length of the JPEG */
    uint32_t width;         /**< pixels of the JPEG */
    uint32_t height;        /**< pixels of the JPEG */
    uint32_t xDpi;          /**< resolution that the JPEG states, dots per inch */
    uint32_t yDpi;          /**< dots per inch */
    uint32_t components;    /**< 3, or 1 for grey */
    uint32_t scans;         /**< 1, or more when progressive */
    int32_t quality;        /**< that the file was made with */
    uint32_t notes;         /**< KOWEN_NOTE_... */
    double clippedPercent;  /**< pixels that come out visibly paler, 0 to 100; noted from 1 */
    char message[1024];     /**< empty, or a sentence that says what failed, where and what to do */
    char notesText[2048];   /**< a line for each note but those of what was kept; or empty */
    char profilePath[4096]; /**< the profile in use, or empty */
    char profileSection[256]; /**< its section */
} KowenResult;

/* The module. */

/** A loaded module. */
typedef struct KowenModule KowenModule;

/**
 * Finds and loads the module.
 *
 * path  the module's file; null looks for it: at $KOWEN_MODULE alone when that is set; else the
 *       first that exists of kowen.so beside this library, kowen/kowen.so and ../kowen/kowen.so
 *       from there, and where it was to be installed. One that cannot be loaded is a failure, a
 *       file that is cut short included.
 *
 * Returns the module, owned by the caller until KowenCloseModule, or null: KOWEN_HOST_ERR_MODULE
 * with a message that lists what was looked for, or why the file is no filter. Opening the same
 * file again gives a module of its own that shares the loaded code.
 */
KOWEN_HOST_API KowenModule *KowenOpenModule(const char *path, KowenResult *result);

/**
 * Closes a module; null does nothing. No prepared picture of it may be alive. From inside a
 * callback it does nothing either: the module stays open, to be closed later.
 */
KOWEN_HOST_API void KowenCloseModule(KowenModule *module);

/** The path it was loaded from; "" for null. Borrowed, valid until it is closed. */
KOWEN_HOST_API const char *KowenModulePath(const KowenModule *module);

/**
 * Its version as QIVGetFilterVersion gave it when it was opened: 0x02000005 is 2.0.5; 0 for null.
 * Waits for nothing, and may be asked from inside a callback.
 */
KOWEN_HOST_API uint32_t KowenModuleVersion(const KowenModule *module);

/** This library's own version, "2.0.5". Static. */
KOWEN_HOST_API const char *KowenHostVersion(void);

/* The picture. */

/** How pixels are stored. */
typedef enum KowenPixelFormat {
    KOWEN_PIXEL_RGB = 1,  /**< 3 bytes: red, green, blue */
    KOWEN_PIXEL_RGBA = 2, /**< 4 bytes: red, green, blue, alpha (not premultiplied; 255 opaque) */
    KOWEN_PIXEL_GREY = 3, /**< 1 byte, 0 black */
    KOWEN_PIXEL_INDEXED = 4,    /**< 1 byte, an index into the palette */
    KOWEN_PIXEL_BILEVEL = 5,    /**< 1 bit, the leftmost pixel in the top bit: an index into the
                                     palette; 0 is black and 1 white when there is no palette */
    KOWEN_PIXEL_GREY_ALPHA = 6, /**< 2 bytes: grey, alpha */
    KOWEN_PIXEL_BGRA = 7        /**< 4 bytes: blue, green, red, alpha */
} KowenPixelFormat;

/**
 * Delivers one row of a picture that is not in memory.
 *
 * context  rowContext of the picture.
 * row      0 is the top row. Rows are asked for once each, in order from the top.
 * pixels   out: width pixels of the picture's format, without gaps.
 *
 * Returns 0, or another value that ends the call with KOWEN_HOST_ERR_PICTURE; the message may be
 * given with KowenSetRowError.
 */
typedef int32_t (*KowenRowReader)(void *context, uint32_t row, void *pixels);

/** A picture to save. All pointers stay the caller's; nothing is written through them. */
typedef struct KowenPicture {
    uint32_t size;           /**< sizeof(KowenPicture) */
    KowenPixelFormat format; /**< KOWEN_PIXEL_... */
    uint32_t width;          /**< pixels */
    uint32_t height;         /**< rows */
    const void *pixels;      /**< the top row's first pixel; null when readRow delivers the rows */
    ptrdiff_t stride;        /**< bytes from a row to the one below; negative when they are stored
                                  bottom-up; 0 = rows without gaps */
    ptrdiff_t pixelStride;   /**< bytes from a pixel to the next one; 0 = without gaps. Not for
                                  KOWEN_PIXEL_BILEVEL */
    ptrdiff_t channelStride; /**< bytes from a pixel's channel to its next one; 0 = 1 */
    KowenRowReader readRow;  /**< or null */
    void *rowContext;        /**< handed to readRow */
    const uint8_t *palette;  /**< paletteSize colours of red, green, blue */
    const uint8_t *paletteAlpha; /**< paletteSize bytes, or null: opaque */
    uint32_t paletteSize;        /**< colours: 1 to 256, of KOWEN_PIXEL_BILEVEL 2 */
    uint32_t orientation;        /**< EXIF's 1 to 8: how the stored pixels must be turned; 0 = 1 */
    double xDpi;                 /**< resolution, dots per inch; 0 = not known */
    double yDpi;                 /**< dots per inch; 0 = not known */
    const void *exif;    /**< a TIFF structure, with or without "Exif\0\0" before it; or null */
    size_t exifSize;     /**< bytes */
    const void *icc;     /**< an ICC profile of the pixels, or null: sRGB */
    size_t iccSize;      /**< bytes */
    const char *comment; /**< text, or null */
} KowenPicture;

/**
 * For a row reader, before it fails: the sentence for the result's message. Kept for the calling
 * thread, until a reader is called there.
 *
 * message  copied; null takes back what was set.
 */
KOWEN_HOST_API void KowenSetRowError(const char *message);

/* Settings. */

/** Settings of exports, by name. */
typedef struct KowenSettings KowenSettings;

/** What the setting "quality" may be, both included; with as-filter it may be lower. */
#define KOWEN_HOST_MIN_QUALITY 45
#define KOWEN_HOST_MAX_QUALITY 100

/** Makes settings that have every default; null when memory is exhausted. */
KOWEN_HOST_API KowenSettings *KowenNewSettings(void);

/**
 * Copies settings, what was set and what came from a profile included. The copy lives on its own.
 *
 * settings  to copy, or null.
 *
 * Returns the copy, owned by the caller until KowenFreeSettings; null for null, and when memory is
 * exhausted.
 */
KOWEN_HOST_API KowenSettings *KowenCopySettings(const KowenSettings *settings);

/** Frees settings; null does nothing. Pictures that were prepared with them do not need them. */
KOWEN_HOST_API void KowenFreeSettings(KowenSettings *settings);

/**
 * Sets one setting. Names are those of the command line's long options without the dashes:
 *
 * quality      45 to 100, default 100; with as-filter 1 to 100
 * progressive  yes or no
 * colour       ycc422 (default), grey, rgb444 (with as-filter only)
 * colour-mode  unchanged, inverted, greys-inverted, grey, grey-inverted
 * size         WxH: a box that the picture is fitted into. In in, cm or mm it is turned as the
 *              picture (with as-filter it is not), and so are papers (A0 to A6, letter, legal,
 *              tabloid); in px or without a unit it stays. Or picture (default) or page
 * dpi          N or NxM, 1 to 65535 (with as-filter 32 to 400), picture (default) or page
 * page         WxH@DPI
 * background   #rrggbb, #rgb or one of the names white, black, grey, red, ...; default white
 * exif, icc, comment   keep (default; comment: drop) or drop
 * max-bytes    N, Nk or NM (300k, 300kb, 0.5M): the highest quality up to `quality` that fits;
 *              0: no limit
 * as-filter    yes or no: pixels, sizes and the stream as the filter itself has them
 *
 * Returns KOWEN_HOST_ERR_ARGUMENT for an unknown name or value; nothing is changed then and the
 * message names what would do.
 */
KOWEN_HOST_API int32_t KowenSet(KowenSettings *settings, const char *name, const char *value,
                                KowenResult *result);

/**
 * Checks whether settings go together, as KowenSave does before it looks at the picture.
 *
 * settings  null = defaults.
 *
 * Returns KOWEN_HOST_ERR_ARGUMENT with a sentence that says what does not.
 */
KOWEN_HOST_API int32_t KowenCheckSettings(const KowenSettings *settings, KowenResult *result);

/**
 * Writes a setting's value as KowenSet takes it, zero-terminated.
 * Returns KOWEN_HOST_ERR_ARGUMENT for an unknown name or a buffer that is too small, which is left
 * as it is then, and when anything is null.
 */
KOWEN_HOST_API int32_t KowenGet(const KowenSettings *settings, const char *name, char *value,
                                size_t valueSize);

/**
 * Whether a setting was set or came from a profile: 1, or 0 for a default. Also 0 for an unknown
 * name and for null.
 */
KOWEN_HOST_API int32_t KowenIsSet(const KowenSettings *settings, const char *name);

/** The name of setting number index, from 0; null behind the last. Static. */
KOWEN_HOST_API const char *KowenSettingName(size_t index);

/**
 * Takes the settings of a profile's section. What was set by KowenSet before stays.
 *
 * path     an INI file.
 * section  null = the one that the profile's ~Mode names.
 *
 * Returns KOWEN_HOST_ERR_PROFILE when the file cannot be read or has no such section.
 */
KOWEN_HOST_API int32_t KowenLoadProfile(KowenSettings *settings, const char *path,
                                        const char *section, KowenResult *result);

/**
 * Keeps settings in a profile's section: those that KowenSet gave. The rest of the file stays as it
 * is, comments included; the file is replaced in one step, and a failure leaves it as it was.
 *
 * path     an INI file; made when there is none, with a ~Mode that names the section.
 * section  null = the one that ~Mode names; in a new file "JPG Export". Made when it is not there,
 *          with every setting.
 *
 * Returns KOWEN_HOST_ERR_PROFILE when the file is no profile or cannot be read or replaced;
 * KOWEN_HOST_ERR_ARGUMENT for a setting that profiles have no key for (page, background, exif, icc,
 * comment, max-bytes, as-filter), for a quality that KowenSave refuses, and for a size in pixels
 * without a resolution.
 */
KOWEN_HOST_API int32_t KowenSaveProfile(const KowenSettings *settings, const char *path,
                                        const char *section, KowenResult *result);

/**
 * Whether KowenSaveProfile would keep these settings there: everything but the writing, with the
 * same codes.
 */
KOWEN_HOST_API int32_t KowenCheckSaveProfile(const KowenSettings *settings, const char *path,
                                             const char *section, KowenResult *result);

/**
 * Writes the name of a profile's section number index, from 0, zero-terminated. The one that ~Mode
 * names is one of them.
 * Returns KOWEN_HOST_ERR_PROFILE when the file cannot be read or is no profile,
 * KOWEN_HOST_ERR_ARGUMENT behind the last section or for a buffer that is too small.
 */
KOWEN_HOST_API int32_t KowenProfileSection(const char *path, size_t index, char *name,
                                           size_t nameSize, KowenResult *result);

/* Saving. */

/** What becomes of a file that has the output's name already. */
typedef enum KowenReplace {
    KOWEN_REPLACE_JPEG = 0,  /**< a JPEG or an empty file is replaced, any other one is refused */
    KOWEN_REPLACE_NEVER = 1, /**< every file is refused */
    KOWEN_REPLACE_ANY = 2    /**< every file is replaced */
} KowenReplace;

/** Takes bytes of the JPEG, in order. Returns 0, or an errno that ends the export. */
typedef int32_t (*KowenWriter)(void *context, const void *bytes, size_t count);

/**
 * Where the JPEG goes: to a file (path), to a writer, or to memory (neither).
 *
 * A file appears under its name only when it is whole, with the mode and owner of the one it
 * replaces; through a symbolic link the file it points at is replaced. Devices, pipes, /dev/stdout
 * and /dev/fd/N are written to directly.
 */
typedef struct KowenOutput {
    uint32_t size;        /**< sizeof(KowenOutput) */
    KowenReplace replace; /**< of a file */
    const char *path;     /**< or null */
    KowenWriter write;    /**< or null */
    void *writeContext;   /**< handed to write */
    void *memory;         /**< out: the JPEG; the caller frees it with KowenFree */
    size_t memorySize;    /**< out: bytes */
} KowenOutput;

/** Frees output memory; null does nothing. */
KOWEN_HOST_API void KowenFree(void *memory);

/**
 * Progress, on the calling thread, every few rows.
 *
 * fraction  0 to 1, of reading the rows and exporting together; never falls. It is 1 when all is
 *           done, once; that answer does not count.
 *
 * Returns 0 to go on; any other value cancels.
 */
typedef int32_t (*KowenProgressCallback)(void *context, double fraction);

/** Whom to tell of a call's progress. Borrowed for the call. */
typedef struct KowenProgress {
    uint32_t size;                  /**< sizeof(KowenProgress) */
    KowenProgressCallback callback; /**< or null */
    void *context;                  /**< handed to callback */
} KowenProgress;

/**
 * Saves a picture.
 *
 * settings  null = defaults.
 * output    in/out.
 * progress  or null.
 *
 * The picture is copied once, into the filter's own bitmap. Returns KOWEN_HOST_OK, or a code that
 * the result explains; then no file has appeared or changed, and output memory is null.
 */
KOWEN_HOST_API int32_t KowenSave(KowenModule *module, const KowenPicture *picture,
                                 const KowenSettings *settings, KowenOutput *output,
                                 const KowenProgress *progress, KowenResult *result);

/* Several exports of one picture: estimates, previews, sizes to fit. */

/** A picture that was handed over, ready to be exported any number of times. */
typedef struct KowenPrepared KowenPrepared;

/**
 * Hands a picture over without exporting it. Of the settings those count that decide about the
 * pixels: colour, colour-mode, background, icc, as-filter; they hold for its exports as well. The
 * size counts in so far as it says whether the picture is resized.
 *
 * picture   pixels, palette, EXIF, profile and comment are copied: all of it may go after the call.
 * settings  null = defaults; may go after the call as well.
 * progress  or null.
 *
 * Returns it, owned by the caller until KowenFreePrepared, or null with the reason in the result.
 */
KOWEN_HOST_API KowenPrepared *KowenPrepare(KowenModule *module, const KowenPicture *picture,
                                           const KowenSettings *settings,
                                           const KowenProgress *progress, KowenResult *result);

/** Exports it once; as KowenSave. Takes a second picture's memory for the time of the call. */
KOWEN_HOST_API int32_t KowenExportPrepared(KowenPrepared *prepared, const KowenSettings *settings,
                                           KowenOutput *output, const KowenProgress *progress,
                                           KowenResult *result);

/** Frees a prepared picture; null does nothing. Before its module is closed, from no callback. */
KOWEN_HOST_API void KowenFreePrepared(KowenPrepared *prepared);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* KOWEN_HOST_H */
