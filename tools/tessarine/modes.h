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

// "; did you mean 'Usecase.Video'?" of a text that is no mode, or nothing if none is near.
std::string DidYouMeanMode(const std::string& text);
// What is wrong with a text that is no branch, and the mode that is meant.
std::string BranchFault(const std::string& text);

// A mode with its parent's key is its parent, under another ID.
inline bool IsAlias(const Mode& mode, const Mode& parent) {
  return mode.parent != mode.id && mode.key == parent.key;
}
// The mode that an ID leads to: itself, or that whose alias it is. `modeOf` gives modes by ID.
template <class ModeOf>
const Mode& WithoutAlias(uint32_t id, ModeOf modeOf) {
  const Mode* mode = &modeOf(id);
  while (IsAlias(*mode, modeOf(mode->parent))) mode = &modeOf(mode->parent);
  return *mode;
}

// Makes a tree of modes: parents and links that don't exist or form a cycle are dropped. Gives a
// line for each of them.
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
  // The modules that a node's modes list, by their IDs: of two with one name, the first.
  std::vector<const Module*> ModulesOf(int node) const;

  struct Found {
    const Module* module;
    int node;  // whose mode lists it
  };
  // The modules that are served where a node stands. Those of a link go to where it leads, and of
  // all that come together there, of one name that with the lowest ID counts.
  const std::vector<Found>& ServedAt(int node) const { return served_[Resolve(node)]; }
  // The end of a node's links.
  int Resolve(int node) const;

  struct Answer {
    int node;         // where the walk along the branch ended
    bool isComplete;  // it is what was asked for
    std::vector<Found> modules;
  };
  // What a branch gets: for each name the module of the deepest mode that holds it.
  Answer AnswerTo(const Branch& branch) const;
  std::vector<Found> InForce(const Branch& branch) const { return AnswerTo(branch).modules; }

 private:
  void Serve();
  int FindMode(int from, const ModeKey* group, size_t count, size_t depth, int& lookUpsLeft) const;

  std::vector<Node> nodes_;
  std::vector<std::vector<Found>> served_;  // beside the nodes
  std::vector<int> nodeOf_;                 // by ID
};

}  // namespace tessarine
