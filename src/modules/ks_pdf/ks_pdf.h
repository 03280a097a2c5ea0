/* KS_Pdf: the PDF text library, a converter module (libKS_Pdf.so) that the
 * import library loads by name at run time.  Its five operations are those
 * the PDF import drives; PDFFreeData is this port's own (below).
 *
 * Conventions:
 *  - Paths are NUL-ended 8-bit strings, handed to the file system as they are.
 *  - Text comes out as UTF-8, page after page, each page as `pdftotext`
 *    writes it by default (poppler's reading order, physical layout off,
 *    lines ended by LF) and followed by a form feed (0x0C), as `pdftotext`
 *    ends every page: the block of a file is byte for byte what
 *    `pdftotext -enc UTF-8 FILE -` prints for it.
 *  - The text block: on Windows the block was a movable global memory block
 *    that the caller freed with the system's own call.  Linux has no global
 *    memory blocks and a caller must not assume that this module and it share
 *    one allocator, so the block is allocated with malloc inside the module
 *    and must be released with PDFFreeData, the matching free exported here.
 *    It holds `size` bytes of text followed by one NUL that `size` does not
 *    count.
 *  - State: the progress, the abort request and the last error are kept for
 *    the whole process, so one extraction runs at a time; a second
 *    GetPDFData waits until the first is over.  PDFGetBytesProcessed and
 *    PDFAbort may be called from any thread at any time.  IsValidPDFFile
 *    touches none of that state.
 *  - Nothing is written to stdout or stderr: poppler's own messages are
 *    dropped.  No call lets an exception out.
 */
#ifndef KS_PDF_H
#define KS_PDF_H

#ifdef __cplusplus
extern "C" {
#endif

#if defined(KS_PDF_BUILDING)
#define KS_PDF_API __attribute__((visibility("default")))
#else
#define KS_PDF_API
#endif

/* What PDFGetLastError answers (and GetPDFData returns). */
#define KS_PDF_OK 0
#define KS_PDF_ERROR_OPEN 1     /* missing, unreadable or not a PDF poppler can repair */
#define KS_PDF_ERROR_LOCKED 2   /* encrypted with a user password: no text without it */
#define KS_PDF_ERROR_ABORTED 3  /* PDFAbort stopped the extraction between two pages */
#define KS_PDF_ERROR_MEMORY 4   /* the text did not fit in memory */
#define KS_PDF_ERROR_INTERNAL 5 /* poppler failed in a way it did not say */
#define KS_PDF_ERROR_ARGUMENT 6 /* a null path or result pointer */

/* Nonzero when `path` is a PDF whose text this library can read: it opens
 * (after poppler's repairs of a damaged cross-reference table) and is not
 * locked by a user password.  0 otherwise. */
KS_PDF_API int IsValidPDFFile(const char* path);

/* Extracts the whole text of `path`.  Blocks until it is done, failed or
 * aborted.  On success (KS_PDF_OK) *text is a new block the caller frees
 * with PDFFreeData and *size the count of its bytes; a PDF without text
 * gives a block of size 0.  On any failure *text is NULL, *size is 0 and
 * the error (also kept for PDFGetLastError) is returned: nothing of a file
 * aborted part way is handed out. */
KS_PDF_API int GetPDFData(const char* path, void** text, unsigned long* size);

/* Releases a block GetPDFData handed out; NULL is ignored. */
KS_PDF_API void PDFFreeData(void* text);

/* How many bytes of the current (or last) file are handled so far: the
 * file's size times the share of its pages done, the whole size once the
 * extraction is over.  0 before the first page.  Capped at INT_MAX. */
KS_PDF_API int PDFGetBytesProcessed(void);

/* Asks a running GetPDFData to stop before its next page.  Harmless when
 * nothing runs: each GetPDFData forgets an earlier request when it starts.
 * Returns 1. */
KS_PDF_API int PDFAbort(void);

/* KS_PDF_OK when the last GetPDFData succeeded (and before the first), else
 * its error (KS_PDF_ERROR_...). */
KS_PDF_API int PDFGetLastError(void);

#ifdef __cplusplus
}
#endif

#endif /* KS_PDF_H */
