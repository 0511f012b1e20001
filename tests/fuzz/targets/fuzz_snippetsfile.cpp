// Any bytes as "snippets.json" or as a snippet file to import.
#include "RecordFileCheck.h"
#include "snippets/Snippet.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    checkRecordFile<Snippet>(data, size);
    return 0;
}
