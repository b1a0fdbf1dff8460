// The saving thread of a raw or processed cine save: while the job's thread
// fetches group n+1, this thread writes group n. Two group buffers alternate
// between them; a binary semaphore says when the writer is free, so the job
// never fetches more than one group ahead. The file is the same as without
// the thread.
#pragma once

#include <cstdint>

#include "formats/image_writer.h"
#include "frame/cine.h"

namespace xe {

struct ThreadySave;

// Starts the thread, which writes with `output`. `*pixBuffer` is the job's buffer of `groupBytes`; a
// second one of the same size is made here. The context is stored in `*out`
// in every case; XE_ERR_NO_MEMORY or XE_ERR_THREAD_CREATE when the buffer or
// the thread cannot be made (the job then writes without the thread).
int32_t BeginThreadySave(ImageWriter *output, ThreadySave **out, uint8_t **pixBuffer, uint32_t groupBytes);

// Hands the group just fetched into `*pixBuffer` (the writer's
// ImageRangeFirst and ImageRangeCnt, header `h`) to the thread once it is
// free, and points `*pixBuffer` at the other buffer for the next fetch.
// Answers the status of the group written before (a failure shows one group
// late), or XE_ERR_SEMAPHORE_TIMEOUT when the writer was not free in 60 s.
int32_t QueueReadBuffer(ThreadySave *t, Cine *writer, uint8_t **pixBuffer, const ImageHeader *h);

// Lets the thread write what is queued and end. Sets `*pixBuffer` back to
// the job's own buffer and frees the rest. `firstFailed` (may be null) gets
// the position in the save range of the first image of the first group whose
// write failed, or UINT32_MAX. XE_ERR_SEMAPHORE_TIMEOUT when the thread did
// not end within 10 s; it is still waited for, since it writes through the
// writer's file and the job's buffer, which the job closes and frees next.
int32_t EndThreadySave(ThreadySave *t, uint8_t **pixBuffer, uint32_t *firstFailed = nullptr);

// The waits before a time-out is reported: of QueueReadBuffer for a free
// writer (60000 ms) and of EndThreadySave for the thread's end (10000 ms).
// For tests of a slow disk.
void SetSavingThreadTimeouts(int64_t writerFreeMs, int64_t endMs);

// True when the thread runs (the context was made and the thread started).
bool ThreadySaveRunning(const ThreadySave *t);

}  // namespace xe
