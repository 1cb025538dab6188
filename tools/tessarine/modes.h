// Names of modes, branches as texts, and the tree that modes form.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "model.h"

namespace tessarine {

using Branch = std::vector<ModeKey>;

// "Usecase.Snapshot"; numbers where there is no name; no sub-mode where none is named and it is 0.
std::string ToText(ModeKey key);
std::string ToText(const Branch& branch);

// "Usecase.Snapshot", "2.1", "Usecase.1", "Default"; names in any case. Nothing for other texts.
std::optional<ModeKey> ParseMode(const std::string& text);
// Modes joined by "|".
std::optional<Branch> ParseBranch(const std::string& text);
// Names of modes, or of the sub-modes of a mode, for messages.
std::vector<std::string> ModeNames();
std::vector<std::string> SubModeNames(uint16_t mode);

// Makes a tree of modes: parents and links that don't exist or form a cycle are dropped. Gives a
// line for each of them, and for each mode that can never be found since a sibling has its key.
std::vector<std::string> MendModes(std::vector<Mode>& modes);

// The nodes of a model's modes. The model must outlive it, and its modes be mended.
class ModeTree {
 public:
  explicit ModeTree(const Model& model);

  struct Node {
    const Mode* mode = nullptr;
    std::vector<const Mode*> aliases;  // modes with this one's key below it: they are this node
    int parent = -1;
    int link = -1;
    std::vector<int> children;
  };
  const std::vector<Node>& Nodes() const { return nodes_; }
  int NodeOf(uint32_t modeId) const;
  // Keys from the root, or from the top of a part that stands on its own.
  Branch PathOf(int node) const;
  // The modules that a node holds itself, by their IDs: of two with one name, the first.
  std::vector<const Module*> ModulesOf(int node) const;

  struct Found {
    const Module* module;
    int node;  // that it comes from
  };
  // The modules that a branch gets: for each name that of the deepest mode that holds it.
  std::vector<Found> InForce(const Branch& branch) const;

 private:
  int Resolve(int node) const;
  int FindMode(int from, const ModeKey* group, size_t count, size_t depth) const;

  std::vector<Node> nodes_;
  std::vector<int> nodeOf_;  // by ID
};

}  // namespace tessarine
