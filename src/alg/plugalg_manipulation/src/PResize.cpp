// Gives a plane a new size. Factors of 1 copy it, with its attributes; a factor of at least 1 interpolates along both
// axes; two factors below 1 take the mean of boxes, as floats, or smooth with a Gaussian kernel.

#include "PResize.h"

#include "Description.h"
#include "Inputs.h"
#include "Output.h"
#include "Parameters.h"
#include "Resize.h"

#include "Value/ValueScalar.h"

#include <algorithm>
#include <iostream>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) Resize";

constexpr const char* kText = R"(BRIEF
Resize an 2d image

Resizes the first input image by scaling factors in x- and y-direction or, with a second input
image, to the size of that image. The output is computed using a Gaussian kernel.

INPUT 0
First input image of type IMAGE_GREY_F or IMAGE_GREY_8.

INPUT 1
Optional Second input image of type IMAGE_GREY_F or IMAGE_GREY_8
specifying the dimension of the output image.

OUTPUT 0
Output image of type as the first input image.

PARAMETER scale_x
The type of this parameter is of type double. resizing scale in x-direction
By default it is set to \a 1.

PARAMETER scale_y
The type of this parameter is of type double. resizing scale in y-direction
By default it is set to \a 1.

PARAMETER keep_ratio
The type of this parameter is of type bool. with a second input image, the smaller of the two
scaling factors is used for both directions.
By default it is set to \a false.

KEYWORDS
resize, shrink, scale, enlarge, expand, 2d

SEE ALSO
Scale, Shrink
)";

bool IsNumber(const CValueMap& parameters, const char* key) {
    return parameters.HasEntry(key, typeid(CValueDouble)) || parameters.HasEntry(key, typeid(CValueLong));
}

/// Takes a factor, under its name and under the deprecated one.
void ReadFactor(const CValueMap& parameters, const char* key, const char* wrongKind, const char* deprecatedKey,
                const char* deprecation, double& field) {
    if (parameters.HasEntry(key) && !IsNumber(parameters, key)) {
        Fail(kWhere, wrongKind);
    }
    ReadNumber(parameters, key, field);
    if (parameters.HasEntry(deprecatedKey)) {
        ReadNumber(parameters, deprecatedKey, field);
        std::cout << std::string("Warning: ") + kWhere + deprecation + "\n";
    }
}

void RequirePlane(const CImage& image, const char* wrongType) {
    RequireType(image, {IMAGE_GREY_F, IMAGE_GREY_8}, kWhere, wrongType);
    if (image.Size().z > 1) {
        Fail(kWhere, "Currently resizing only works with 2D images");
    }
}

} // namespace

void CPResize::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Resize", "Manipulation");
    description.DoubleParameter("scale_x", 1);
    description.DoubleParameter("scale_y", 1);
    description.BoolParameter("keep_ratio", false);
    description.ImageInput();
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPResize::NodeInit() {
    ReadFactor(Parameters(), "scale_x", "The input parameter scale_x must be of typelong or double!", "factorX",
               " factorX is deprecated and should no longer be used. Please use scale_x instead!", scale_x);
    // The missing blank before this key is meant.
    ReadFactor(Parameters(), "scale_y", "The input parameter scale_y must be of typelong or double!", "factorY",
               "factorY is deprecated and should no longer be used. Please use scale_y instead!", scale_y);
    keep_ratio = Parameters().EntryBool("keep_ratio", false);
    shrink_method = Parameters().EntryString("shrink_method", shrink_method);
}

void CPResize::Run() {
    const CImage& input = RequireInput(*this, 0, kWhere, "input image is NULL");
    RequirePlane(input, "first input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, ");
    const CSize& size = input.Size();
    if (size.x < 1 || size.y < 1 || size.z < 1) {
        Fail(kWhere, "Resizing image with size zero ist not possible!");
    }
    double factorX = scale_x;
    double factorY = scale_y;
    if (CValue* value = GetStackInput(1, false)) {
        const CImage& target = RequireImage(*value, kWhere, "seconed input image is NULL");
        RequirePlane(target, "second input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, ");
        if (target.Size().x < 1 || target.Size().y < 1) {
            Fail(kWhere, "Target size zero is not possible!");
        }
        factorX = static_cast<double>(target.Size().x) / static_cast<double>(size.x);
        factorY = static_cast<double>(target.Size().y) / static_cast<double>(size.y);
        if (keep_ratio) {
            factorX = factorY = std::min(factorX, factorY);
        }
    }

    std::unique_ptr<CImage> output;
    if (factorX == 1.0 && factorY == 1.0) {
        output = std::make_unique<CImage>(input); // the only way that keeps the attributes
    } else if (factorX >= 1.0 || factorY >= 1.0) {
        output = ResizeBilinear(input, factorX, factorY);
    } else if (factorX <= 0.0 || factorY <= 0.0) {
        Fail(kWhere, "zero as scaling factor is undefined!");
    } else if (shrink_method == "gauss") {
        output = ResizeGauss(input, factorX, factorY);
    } else {
        output = ResizeBoxMean(input, factorX, factorY);
    }
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
