#include "qxframework/xml/internal/xpath.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/xml/internal/utf.h"

#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <memory>
#include <new>

namespace qx::xml {
namespace {

// The limit of evaluation steps, since a short expression can visit the product of several node
// sets.
constexpr unsigned long kMostSteps = 50'000'000;

struct FreeContext {
  void operator()(xmlXPathContext* context) const { xmlXPathFreeContext(context); }
};
struct FreeObject {
  void operator()(xmlXPathObject* object) const { xmlXPathFreeObject(object); }
};
struct FreeXml {
  void operator()(void* memory) const { xmlFree(memory); }
};

// Registers the prefixes in scope at `node`, which the expression may use. The default namespace
// has no prefix, and XPath 1.0 has no way to name it.
void registerPrefixes(xmlXPathContext* context, xmlNode* node) {
  xmlNode* const from = node->type == XML_DOCUMENT_NODE ? xmlDocGetRootElement(node->doc) : node;
  if (from == nullptr) return;
  const std::unique_ptr<xmlNs*, FreeXml> list(xmlGetNsList(from->doc, from));
  if (list == nullptr) return;
  for (xmlNs** ns = list.get(); *ns != nullptr; ++ns) {
    if ((*ns)->prefix != nullptr) xmlXPathRegisterNs(context, (*ns)->prefix, (*ns)->href);
  }
}

}  // namespace

std::vector<xmlNode*> selectByPath(xmlNode* node, const std::string& expression) {
  const std::unique_ptr<xmlXPathContext, FreeContext> context(xmlXPathNewContext(node->doc));
  if (context == nullptr) throw std::bad_alloc();
  context->node = node;
  context->opLimit = kMostSteps;
  context->error = [](void*, xmlError*) {};  // else libxml2 prints the error
  registerPrefixes(context.get(), node);
  const std::unique_ptr<xmlXPathObject, FreeObject> result(
      xmlXPathEval(asXml(expression), context.get()));
  if (result == nullptr || result->type != XPATH_NODESET) raiseError(E_INVALIDARG);
  std::vector<xmlNode*> nodes;
  if (result->nodesetval == nullptr) return nodes;
  // The set of an expression with "|" is not in document order.
  xmlXPathNodeSetSort(result->nodesetval);
  for (int i = 0; i < result->nodesetval->nodeNr; ++i) {
    xmlNode* const found = result->nodesetval->nodeTab[i];
    // A namespace node is no node of the tree; it is freed with the result.
    if (found->type != XML_NAMESPACE_DECL) nodes.push_back(found);
  }
  return nodes;
}

}  // namespace qx::xml
