#pragma once

namespace durix {

class Recordings;

/// Takes recordings that lie in the data directory and that the store does not know, because its database was lost, by
/// what describes them. They are unfinished then, for repairRecordings.
void adoptRecordings(Recordings& recordings);

}  // namespace durix
