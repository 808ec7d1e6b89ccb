// See index.h.
//
// Opening and closing an Index. It refers to no Python object, so that it can be part of no cycle.
#include "bindings/python/index.h"

#include <Python.h>
#include <structmember.h>

#include <array>
#include <cstddef>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "bindings/python/arguments.h"
#include "bindings/python/errors.h"
#include "bindings/python/owned.h"
#include "bindings/python/texts.h"
#include "index/place.h"
#include "index/questions.h"

namespace engines::treesitter::python {
namespace {

PyObject* open(PyTypeObject* type, const std::string& path,
               const std::optional<std::string>& database) {
  std::shared_ptr<IndexConnections> connections;
  decltype(IndexObject::names) names;
  const bool is_done = run_question([&](const repository::Poll& poll) {
    const repository::Place place = repository::find_place(path, database);
    connections = std::make_shared<IndexConnections>(place);
    connections->ask(poll, [&](repository::Questions& questions) {
      names = {questions.root(), place.database};
    });
  });
  auto* const self = is_done ? reinterpret_cast<IndexObject*>(type->tp_alloc(type, 0)) : nullptr;
  if (self == nullptr) return nullptr;
  new (&self->connections) std::shared_ptr<IndexConnections>(std::move(connections));
  new (&self->names) decltype(names)(std::move(names));
  return reinterpret_cast<PyObject*>(self);
}

PyObject* make(PyTypeObject* type, PyObject* arguments, PyObject* keywords) {
  static constexpr const char* NAMES[] = {"path", "database"};
  std::array<PyObject*, std::size(NAMES)> values{};
  if (!bind_arguments({"Index", NAMES, 0, 1}, arguments, keywords, values)) return nullptr;
  const auto& state = *static_cast<ModuleState*>(PyType_GetModuleState(type));
  return translating(state, [&]() -> PyObject* {
    std::string path = ".";
    std::optional<std::string> database;
    if (values[0] != nullptr && !file_path_from(values[0], path)) return nullptr;
    if (values[1] != nullptr && values[1] != Py_None &&
        !file_path_from(values[1], database.emplace())) {
      return nullptr;
    }
    close_connections_at_fork();
    return open(type, path, database);
  });
}

PyObject* repr(PyObject* self) {
  const Owned root(path_to_str(index_of(self).names.root));
  return root ? PyUnicode_FromFormat("<treesitter.Index of %R>", root.get()) : nullptr;
}

void deallocate(PyObject* self) {
  PyTypeObject* const type = Py_TYPE(self);
  PyObject_ClearWeakRefs(self);
  std::destroy_at(&index_of(self).connections);
  std::destroy_at(&index_of(self).names);
  type->tp_free(self);
  Py_DECREF(type);
}

PyObject* get_root(PyObject* self, void* /*none*/) {
  return path_to_str(index_of(self).names.root);
}

PyObject* get_database(PyObject* self, void* /*none*/) {
  return path_to_str(index_of(self).names.database);
}

constexpr const char DOC[] =
    "Index(path='.', *, database=None)\n--\n\n"
    "The index of a repository, open for questions.\n\n"
    "`treesitter-engine index` makes it. path is a folder of the repository, whose index is found\n"
    "as the tool finds it; database names another file. Raises RepositoryIndexError when there is\n"
    "no index, or one that cannot be asked, as does every question.\n\n"
    "One Index serves any number of threads at once: a question runs on a connection to the\n"
    "database that no other has meanwhile, and other threads run. The index may be written at the\n"
    "same time; a question sees the state that was committed before it. One that was made anew\n"
    "since is opened again, if it can be asked. What the handler of a signal raises, such as\n"
    "KeyboardInterrupt, ends a question.\n\n"
    "With the module of a wheel, which has an SQLite of its own, a process that has an Index open\n"
    "must not open the same database by another copy of SQLite, such as the module sqlite3:\n"
    "closing it there drops the locks that the process holds here.\n\n"
    "A child of os.fork opens connections of its own. One that was forked in the middle of a\n"
    "question, by the handler of a signal, can ask none. An Index cannot be pickled.";

PyGetSetDef properties[] = {
    {"root", get_root, nullptr, "The folder that paths start from, absolute.", nullptr},
    {"database", get_database, nullptr, "The file of the index.", nullptr},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

PyMemberDef members[] = {
    {"__weaklistoffset__", T_PYSSIZET, offsetof(IndexObject, weak_references), READONLY, nullptr},
    {nullptr, 0, 0, 0, nullptr},
};

PyType_Slot slots[] = {
    {Py_tp_doc, const_cast<char*>(DOC)},
    {Py_tp_members, members},
    {Py_tp_getset, properties},
    {Py_tp_new, reinterpret_cast<void*>(make)},
    {Py_tp_repr, reinterpret_cast<void*>(repr)},
    {Py_tp_dealloc, reinterpret_cast<void*>(deallocate)},
    {Py_tp_methods, index_methods},
    {0, nullptr},
};

PyType_Spec spec = {
    .name = "treesitter.Index",
    .basicsize = sizeof(IndexObject),
    .itemsize = 0,
    .flags = Py_TPFLAGS_DEFAULT,
    .slots = slots,
};

}  // namespace

PyObject* close_index(PyObject* self, PyObject* /*none*/) {
  const auto closed = std::exchange(index_of(self).connections, nullptr);
  Py_RETURN_NONE;
}

PyObject* enter_index(PyObject* self, PyObject* /*none*/) { return Py_NewRef(self); }

PyObject* leave_index(PyObject* self, PyObject* const* /*exception*/, Py_ssize_t /*count*/) {
  return close_index(self, nullptr);
}

PyObject* reduce_index(PyObject* /*self*/, PyObject* /*none*/) {
  PyErr_SetString(PyExc_TypeError,
                  "cannot pickle or copy an Index: open another one, by its root and database");
  return nullptr;
}

bool add_index_type(ModuleState& state, PyObject* module) {
  state.index = reinterpret_cast<PyTypeObject*>(PyType_FromModuleAndSpec(module, &spec, nullptr));
  return state.index != nullptr && PyModule_AddType(module, state.index) == 0;
}

}  // namespace engines::treesitter::python
