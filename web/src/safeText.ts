// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// ZRender keeps the widths of texts in an object by their text. A run called "__proto__" or
// "constructor" would find there what every object has, and change it for the whole page.
// With a sign before each key none does.
import LRU from 'zrender/lib/core/LRU.js';

const { get, put } = LRU.prototype;

LRU.prototype.get = function safeGet(key) {
  return get.call(this, `$${key}`);
};

LRU.prototype.put = function safePut(key, value) {
  return put.call(this, `$${key}`, value);
};
