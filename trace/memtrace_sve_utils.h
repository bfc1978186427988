// The memory-trace library (libmemtrace_sve_utils.so): receives the emulator's
// 48-byte access records and writes them to one binary file per process.
//
// The emulator calls incr_count() and trace_mem() (declared in
// sve/mem/trace.h) from any number of threads without locks. Each thread
// copies its records into a buffer of its own (mmap'ed on its first record,
// 4096 records); a full buffer is written to the file at a byte range
// reserved by an atomic add on the file offset, so threads never wait for
// each other on the record path. Nothing is allocated and no file is created
// until the first record.
//
// File: $SVE_TRACE_FILE (each "%p" replaced by the pid), or by default
// sve-trace.<program>.<pid>.bin in the current directory, created on the
// first buffer written out. Little-endian:
//
//   offset  size  field
//        0     8  magic "SVETRACE"
//        8     4  version (1)
//       12     4  vector length in bytes (SVE_VL_BYTES)
//       16     4  record size (48)
//       20     4  program-name length n
//       24     8  pid of the traced process
//       32     n  program name (basename), zero-padded to a multiple of 8
//   32+pad8(n)    records of 48 bytes, laid out as sve_mem_ref_t with
//                 bytes 20..23 written as zero
//
// A thread's records appear in that thread's order; chunks of different
// threads interleave. trace/FORMAT.md has the record fields.
#pragma once
#include <cstdint>

#include "sve/mem/trace.h"

// Called once by a front end before the application runs (reserved: null).
// Remembers the basename of program_name for the file header and the default
// file name; without it the C library's short program name is used. Creates
// no file. False when too late: the file exists already or sve_exit ran.
bool sve_init(void* reserved, const char* program_name);

// Flushes and releases the calling thread's buffer. Front ends call it at
// thread exit; a thread that ends without calling it is flushed by a thread
// key destructor instead. Calling it more than once is harmless; a thread that
// traces again afterwards gets a fresh buffer.
void sve_thread_exit();

// At process end: writes out every buffer still holding records (live threads
// and threads that ended without flushing) and closes the file. Records
// produced afterwards are dropped. Writes nothing if no record was ever
// produced. A second call does nothing.
void sve_exit();

// Magic, version and fixed header size of the file.
constexpr char SVE_TRACE_MAGIC[8] = {'S', 'V', 'E', 'T', 'R', 'A', 'C', 'E'};
constexpr uint32_t SVE_TRACE_VERSION = 1;
constexpr uint32_t SVE_TRACE_HEADER_FIXED = 32;
