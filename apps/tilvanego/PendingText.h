#pragma once

namespace tilvanego::program {

class HostSession;

/// Write the events that list what is pending, and what an earlier process left.
void writePending(HostSession& session);
void writeInterrupted(HostSession& session);

}  // namespace tilvanego::program
