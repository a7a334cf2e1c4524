#pragma once

#include <memory>

/// One parameter set out of "sprop-parameter-sets".
class SPropRecord {
  public:
    unsigned sPropLength = 0;
    std::unique_ptr<unsigned char[]> sPropBytesOwned;
    unsigned char* sPropBytes = nullptr;
};

/// The base64 records between commas; `numSPropRecords` says how many. The caller frees the array with
/// delete[]; NULL when there is nothing in the text.
SPropRecord* parseSPropParameterSets(char const* sPropParameterSetsStr, unsigned& numSPropRecords);
