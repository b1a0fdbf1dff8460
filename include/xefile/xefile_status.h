/* XeFile status numbers.
 *
 * Every function with a result returns a 32-bit signed status: 0 success,
 * negative failure, positive warning or information that does not stop the
 * work. One table serves the whole library. */
#ifndef XEFILE_STATUS_H
#define XEFILE_STATUS_H

#define XE_OK                          0     /* success */

/* Failures */
#define XE_ERR_NULL_ARGUMENT        (-200)   /* a required pointer argument is null */
#define XE_ERR_NO_MEMORY            (-201)   /* out of memory for a working block */
#define XE_ERR_SEMAPHORE_TIMEOUT    (-285)   /* overlapped transfer timed out, save aborted */
#define XE_ERR_SEMAPHORE_CREATE     (-294)   /* a semaphore of the saving thread cannot be created */
#define XE_ERR_LUT_BITS             (-304)   /* a linearisation table for unsupported bit depths */
#define XE_ERR_BUFFER_TOO_SMALL     (-308)   /* the caller's buffer is too small for the images */
#define XE_ERR_NULL_CINE           (-2000)   /* null cine handle, or a tag the clipper does not know */
#define XE_ERR_IMAGE_FILE_READ     (-2002)   /* the image file cannot be read */
#define XE_ERR_AUX_TOO_SMALL       (-2003)   /* destination of an auxiliary-data request too small */
#define XE_ERR_AUX_OUT_OF_RANGE    (-2004)   /* image outside the cine, or no such time */
#define XE_ERR_GRAPH               (-2005)   /* a movie graph cannot be built or run */
#define XE_ERR_COMPRESSOR          (-2006)   /* the selected compressor cannot be used */
#define XE_ERR_TIFF_FORMAT         (-2007)   /* "Cannot read this tiff format." */
#define XE_ERR_FILE_OPEN           (-2012)   /* a file cannot be opened or created */
#define XE_ERR_FILE_READ           (-2013)   /* a file read failed or came up short */
#define XE_ERR_FILE_WRITE          (-2014)   /* a file write failed or came up short */
#define XE_ERR_FILE_SEEK           (-2015)   /* a file seek failed */
#define XE_ERR_FILE_VERSION        (-2017)   /* the cine file's Version is 2 or more */
#define XE_ERR_NOT_SUPPORTED       (-2018)   /* unknown selector, format or option */
#define XE_ERR_MOVIE_IN_USE        (-2019)   /* the output movie file is in use */
#define XE_ERR_WRITE_GRAPH         (-2021)   /* the movie writing graph cannot be built */
#define XE_ERR_AUX_TAG_ABSENT      (-2023)   /* the auxiliary tag is not stored in this cine */
#define XE_ERR_CINE_ALLOC          (-2024)   /* the cine record cannot be allocated */
#define XE_ERR_MOVIE_IMPORT        (-2025)   /* the movie import component cannot be created */
#define XE_ERR_ENTRY_POINT         (-2028)   /* an entry point is missing from a loaded plugin */
#define XE_ERR_ALREADY_SAVING      (-2029)   /* this cine is already saving */
#define XE_ERR_SAVE_SLOTS_FULL     (-2030)   /* all 20 save slots are taken */
#define XE_ERR_NOT_SAVING          (-2031)   /* this cine is not among the running saves */
#define XE_ERR_MUTEX_CREATE        (-5000)   /* a start-up mutex cannot be created */
#define XE_ERR_MUTEX_TIMEOUT       (-5001)   /* a library mutex was not acquired in time */
#define XE_ERR_THREAD_CREATE       (-5005)   /* the saving thread cannot be created */
#define XE_ERR_THREAD_STOP_TIMEOUT (-5006)   /* the saving thread did not end in time */

/* Information and warnings */
#define XE_INFO_SEARCH_DIRECTION      114    /* search direction other than forward or backward */
#define XE_INFO_NOT_RECORDED          121    /* needs a recorded cine; this one is live or empty */
#define XE_WARN_RANGE_EMPTY          2001    /* the range does not meet the cine; now empty */
#define XE_WARN_RANGE_REDUCED        2002    /* the range was reduced */
#define XE_WARN_LIBRARY_FREE         2005    /* an optional library cannot be freed (internal) */
#define XE_WARN_NO_IMAGING           2006    /* the imaging plugin is absent */
#define XE_WARN_NO_ENCODER           2007    /* the MXF encoder (movie plugin) is absent */
#define XE_WARN_RESAMPLE_REFUSED     2008    /* resampling refused for a size out of bounds */
#define XE_WARN_CROP_REFUSED         2009    /* cropping refused for a rectangle outside the image */
#define XE_INFO_SEARCH_AT_END        2010    /* already at the last image in that direction */

/* Codes of the camera layer that the library tests */
#define XE_CAM_NO_CAMERA            (-100)   /* no camera answers at this camera number */
#define XE_CAM_BAD_TIMES            (-283)   /* a time transfer came back bad */
#define XE_CAM_TRIGGER_OUTSIDE      (-284)   /* trigger time not between images -1 and 0 */
#define XE_CAM_BAD_TIMES_2          (-291)   /* a time transfer came back bad */
#define XE_CAM_SELECTOR_ABSENT        136    /* a cine-get selector this camera lacks */

#endif
