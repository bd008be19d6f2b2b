#include "core_contract/node_allocator.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

#include "zelk_foundation_standin.h"

namespace zelk {
namespace {

// Stands in front of every node, so that a node given back with another size is noticed.
struct alignas(std::max_align_t) NodeHeader {
  uint64_t size;
};

std::atomic<int64_t> nodes_out = 0;
std::atomic<int64_t> nodes_misused = 0;
std::atomic<int64_t> failures_left = 0;

bool TakeFailure() {
  int64_t left = failures_left.load();
  while (left > 0) {
    if (failures_left.compare_exchange_weak(left, left - 1)) return true;
  }
  return false;
}

}  // namespace

void* zelk_tp_stl_ex::allocate_node(uint64_t size) {
  if (TakeFailure()) return nullptr;
  if (size > std::numeric_limits<std::size_t>::max() - sizeof(NodeHeader)) return nullptr;
  void* memory = std::malloc(sizeof(NodeHeader) + static_cast<std::size_t>(size));
  if (memory == nullptr) return nullptr;
  ++nodes_out;
  return new (memory) NodeHeader{size} + 1;
}

void zelk_tp_stl_ex::deallocate_node(void* node, uint64_t size) {
  if (node == nullptr) return;
  NodeHeader* header = static_cast<NodeHeader*>(node) - 1;
  if (header->size != size) ++nodes_misused;
  --nodes_out;
  std::free(header);
}

int64_t foundation_standin::NodesOut() { return nodes_out; }
int64_t foundation_standin::NodesMisused() { return nodes_misused; }
void foundation_standin::FailNodeAllocations(int64_t count) { failures_left = count; }

}  // namespace zelk
