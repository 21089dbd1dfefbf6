#pragma once

// Reads the `form` element of a batch document into a form. What is wrong goes to the report, each
// fault with the code that fits the place and a sentence that names the element and the attribute.

#include "qxdesk/screens/batch/batch_report.h"
#include "qxdesk/screens/batch/xml_element.h"
#include "qxdesk/screens/model/form_model.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace qx::screens {

class FormReader {
 public:
  explicit FormReader(BatchReport& report) : report_(report) {}

  /// A new form that is not opened yet, or null when anything in it is wrong.
  std::shared_ptr<FormModel> create(const XmlElement& element);
  /// Changes what the element names: the form's attributes, and items by their actions "add",
  /// "update" and "remove". What is right stays; false when anything was wrong.
  bool update(FormModel& form, const XmlElement& element);

 private:
  using Step = std::function<void(const XmlElement&)>;

  void readForm(FormModel& form, const XmlElement& element);
  void readFrame(FormModel& form, const XmlElement& element);
  void readSources(FormModel& form, const XmlElement& element);
  void readItems(FormModel& form, const XmlElement& element);
  void readItemAction(FormModel& form, const XmlElement& action);
  void addItem(FormModel& form, const XmlElement& element);
  void readItem(FormModel& form, ItemModel& item, const XmlElement& element);
  void readSpecific(FormModel& form, ItemModel& item, const XmlElement& specific);
  void readValidValues(ComboModel& combo, const XmlElement& specific);
  void readColumns(FormModel& form, MatrixModel& matrix, const XmlElement& specific);
  void addColumn(FormModel& form, MatrixModel& matrix, const XmlElement& element);
  /// The source of the `databind` below `element`, null when it is not bound to one.
  std::shared_ptr<UserDataSource> readBinding(FormModel& form, const XmlElement& element,
                                              HRESULT code);

  /// Runs `body` for every `entry` of every `action` below `element`.
  void eachEntry(const XmlElement& element, std::u16string_view entry, const Step& body);
  /// Runs `body`; a refusal of the model goes to the report.
  void attempt(const XmlElement& element, const std::function<void()>& body);
  void number(const XmlElement& element, std::u16string_view name, HRESULT code, long& out);
  void flag(const XmlElement& element, std::u16string_view name, HRESULT code, bool& out);
  void fail(const XmlElement& element, HRESULT code, std::u16string_view reason);

  BatchReport& report_;
};

}  // namespace qx::screens
