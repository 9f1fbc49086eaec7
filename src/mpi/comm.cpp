#include "mpi/comm.h"

#include <thread>

namespace tn::mpi {

// A failed MPI call ends the whole job (MPI's default handler): the library then stops every
// process, as it does when one of them dies.

Comm::Comm() {
    MPI_Comm_rank(MPI_COMM_WORLD, &rank_);
    MPI_Comm_size(MPI_COMM_WORLD, &size_);
}

Comm::~Comm() {
    // Messages still posted at the end are given up (only after a failure can any be left).
    for (Pending& p : pending_) {
        if (p.request != MPI_REQUEST_NULL) MPI_Request_free(&p.request);
    }
}

bool Comm::poll(Message& m, int source) {
    int flag = 0;
    MPI_Status st;
    MPI_Iprobe(source, MPI_ANY_TAG, MPI_COMM_WORLD, &flag, &st);
    if (!flag) return false;
    int count = 0;
    MPI_Get_count(&st, MPI_BYTE, &count);
    m.source = st.MPI_SOURCE;
    m.tag = st.MPI_TAG;
    m.bytes.resize(static_cast<std::size_t>(count));
    MPI_Recv(m.bytes.data(), count, MPI_BYTE, st.MPI_SOURCE, st.MPI_TAG, MPI_COMM_WORLD, MPI_STATUS_IGNORE);
    ++traffic.received;
    traffic.bytes_received += static_cast<std::uint64_t>(count);
    return true;
}

void Comm::send(int dest, int tag, const std::string& bytes) {
    MPI_Send(bytes.data(), static_cast<int>(bytes.size()), MPI_BYTE, dest, tag, MPI_COMM_WORLD);
    ++traffic.sent;
    traffic.bytes_sent += bytes.size();
}

void Comm::post(int dest, int tag, std::string bytes) {
    Pending& p = pending_.emplace_back();
    p.bytes = std::move(bytes);
    MPI_Isend(p.bytes.data(), static_cast<int>(p.bytes.size()), MPI_BYTE, dest, tag, MPI_COMM_WORLD, &p.request);
    ++traffic.sent;
    traffic.bytes_sent += p.bytes.size();
}

bool Comm::sends_done() {
    for (auto it = pending_.begin(); it != pending_.end();) {
        int flag = 0;
        MPI_Test(&it->request, &flag, MPI_STATUS_IGNORE);
        if (flag) it = pending_.erase(it);
        else ++it;
    }
    return pending_.empty();
}

void Backoff::sleep() { std::this_thread::sleep_for(next()); }

}  // namespace tn::mpi
