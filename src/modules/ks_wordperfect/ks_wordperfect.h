/* KSWordPerfect: the WordPerfect converter, a converter module
 * (libKSWordPerfect.so) that the import library loads by name just before a
 * conversion and unloads just after it.
 *
 * Conventions:
 *  - Paths are NUL-ended 8-bit strings, handed to the file system as they are.
 *  - The converted copy is a UTF-8 text file that opens with a UTF-8
 *    byte-order mark, so that the import reads it as UTF-8 whatever origin
 *    (ANSI or OEM) the user chose for the file.  Its text is what libwpd's
 *    text generator makes of the document, byte for byte what `wpd2text`
 *    prints for it: paragraphs ended by LF, no formatting.  Plain text and
 *    not rich text, although the export keeps its old name: the import
 *    stores a converted copy as the document's text, and text needs nothing
 *    of a rich-text writer.
 *  - The copy is written into the import's temporary folder ($TMPDIR, else
 *    /tmp, followed by "/KSTmpImp/"; made, mode 0700, when missing) under a
 *    name of its own ("wp-XXXXXX.txt"), mode 0600.  The caller owns it and
 *    deletes it.  Nothing is left behind after a failure.
 *  - No state is kept between calls; calls from several threads at once are
 *    safe.  Nothing is written to stdout or stderr; no exception gets out.
 */
#ifndef KS_WORDPERFECT_H
#define KS_WORDPERFECT_H

#ifdef __cplusplus
extern "C" {
#endif

#if defined(KS_WORDPERFECT_BUILDING)
#define KS_WORDPERFECT_API __attribute__((visibility("default")))
#else
#define KS_WORDPERFECT_API
#endif

/* What KSWp2rtf returns: 0 or more is success. */
#define KS_WP_OK 0
#define KS_WP_ERROR_ARGUMENT (-1)  /* a null path or buffer */
#define KS_WP_ERROR_NOT_WP (-2)    /* not a WordPerfect document libwpd reads */
#define KS_WP_ERROR_ENCRYPTED (-3) /* protected by a password */
#define KS_WP_ERROR_PARSE (-4)     /* libwpd failed part way (a damaged document) */
#define KS_WP_ERROR_WRITE (-5)     /* the copy could not be written */
#define KS_WP_ERROR_PATH (-6)      /* the copy's path does not fit in the buffer */
#define KS_WP_ERROR_INTERNAL (-7)  /* memory ran out, or libwpd failed unsaid */

/* The size of the buffer KSWp2rtf writes the copy's path into. */
#define KS_WP_PATH_BUFFER 2048

/* Converts the WordPerfect document `in_path` into a text copy (above) and
 * writes the copy's path, NUL-ended, into `out_path`, a buffer of
 * KS_WP_PATH_BUFFER bytes.  Returns KS_WP_OK, or a KS_WP_ERROR_ code (< 0)
 * with `out_path` left as it was. */
KS_WORDPERFECT_API int KSWp2rtf(const char* in_path, char* out_path);

#ifdef __cplusplus
}
#endif

#endif /* KS_WORDPERFECT_H */
