// Any bytes as "actions.json".
#include "RecordFileCheck.h"
#include "actions/WendleAction.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    checkRecordFile<WendleAction>(data, size);
    return 0;
}
