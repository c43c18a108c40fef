// Scope owner of a text configuration object: the object is freed with
// free_cfg on every path out of the scope that made it.
#pragma once

#include "config/text/tcfg_util.h"

class TcfgOwner {
 public:
  explicit TcfgOwner(Tcfg* cfg) : cfg_(cfg) {}
  ~TcfgOwner() { free_cfg(cfg_); }
  TcfgOwner(const TcfgOwner&) = delete;
  TcfgOwner& operator=(const TcfgOwner&) = delete;

  Tcfg* get() const { return cfg_; }

 private:
  Tcfg* cfg_;
};
