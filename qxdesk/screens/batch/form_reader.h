#pragma once

// Reads the `form` element of a batch document into a form. Reading goes on after a fault, so that
// the report lists all faults of a form at once: each with the code for its place and with a
// sentence that names the element and the attribute.

#include "qxdesk/screens/batch/batch_report.h"
#include "qxdesk/screens/batch/xml_element.h"
#include "qxdesk/screens/model/form_model.h"

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

namespace qx::screens {

class FormReader {
 public:
  explicit FormReader(BatchReport& report) : report_(report) {}

  /// Returns a new form that is not opened yet, or null if anything in the element is wrong.
  std::shared_ptr<FormModel> create(const XmlElement& element);
  /// Changes the form: its attributes, and its items by the actions "add", "update" and "remove".
  /// Returns false if anything is wrong; the correct parts are applied all the same.
  bool update(FormModel& form, const XmlElement& element);

 private:
  using Step = std::function<void(const XmlElement&)>;
  using Names = std::initializer_list<std::u16string_view>;

  void readForm(FormModel& form, const XmlElement& element);
  void readFrame(FormModel& form, const XmlElement& element);
  void readSources(FormModel& form, const XmlElement& element);
  void readItems(FormModel& form, const XmlElement& element);
  void readItemAction(FormModel& form, const XmlElement& action);
  void addItem(FormModel& form, const XmlElement& element);
  void readItem(FormModel& form, ItemModel& item, const XmlElement& element);
  void readRect(const XmlElement& element, Rect& rect);
  void readSpecific(FormModel& form, ItemModel& item, const XmlElement& specific);
  void readStyle(const XmlElement& specific, EditStyle& style);
  void readMatrix(FormModel& form, MatrixModel& matrix, const XmlElement& specific);
  void readValidValues(ComboModel& combo, const XmlElement& specific);
  void readColumns(FormModel& form, MatrixModel& matrix, const XmlElement& specific);
  void addColumn(FormModel& form, MatrixModel& matrix, const XmlElement& element);
  /// Returns the data source that the `databind` in `element` names, or null if it names none.
  /// Faults get `code`.
  std::shared_ptr<UserDataSource> readBinding(FormModel& form, const XmlElement& element,
                                              HRESULT code);

  /// Reports each child element that has none of these names.
  void allowOnly(const XmlElement& element, Names names);
  /// Runs `body` for each element named `entry` in each `action` of `element`.
  void eachEntry(const XmlElement& element, std::u16string_view entry, const Step& body);
  /// Runs `body` and reports the error that the model throws, if any.
  template <class Body>
  void attempt(const XmlElement& element, const Body& body);
  /// Reads an attribute into `out`. Leaves `out` alone if the attribute is missing, empty or wrong;
  /// the last is reported with `code`.
  void number(const XmlElement& element, std::u16string_view name, HRESULT code, long& out);
  /// Does the same for a number that must not be negative.
  void size(const XmlElement& element, std::u16string_view name, HRESULT code, long& out);
  /// Does the same for a 1 or 0.
  void flag(const XmlElement& element, std::u16string_view name, HRESULT code, bool& out);
  /// Reports a fault of the element: `reason`, which ends with `text` of the document.
  void fail(const XmlElement& element, HRESULT code, std::u16string_view reason,
            std::u16string_view text = {});

  BatchReport& report_;
};

}  // namespace qx::screens
