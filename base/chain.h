// A list of objects that does not allocate: each object has the place in it.
//
// Header-only, because the library uses it.

#ifndef BASE_CHAIN_H
#define BASE_CHAIN_H

namespace base {

// THREADS   One at a time.
template <typename Item>
class Chain {
 public:
  // The base class of an item. Take it out of its chain before it is destroyed.
  class Place {
   private:
    friend class Chain;
    Item* before_ = nullptr;
    Item* behind_ = nullptr;
  };

  bool empty() const { return !first_; }
  Item* first() const { return first_; }
  static Item* behind(const Item& item) { return item.Place::behind_; }

  void append(Item& item) {
    item.Place::before_ = last_;
    (last_ ? last_->Place::behind_ : first_) = &item;
    last_ = &item;
  }

  void remove(Item& item) {
    Item* const before = item.Place::before_;
    Item* const behind = item.Place::behind_;
    (before ? before->Place::behind_ : first_) = behind;
    (behind ? behind->Place::before_ : last_) = before;
    item.Place::before_ = nullptr;
    item.Place::behind_ = nullptr;
  }

 private:
  Item* first_ = nullptr;
  Item* last_ = nullptr;
};

}  // namespace base

#endif  // BASE_CHAIN_H
